#include "PlayerReport.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace clientsim {

void PlayerReporter::tell(Told told, std::string_view text) const {
    std::string line(1, static_cast<char>(told));
    line += text;
    std::replace(line.begin(), line.end(), '\n', ' ');
    line += '\n';
    for (size_t written = 0; written < line.size();) {
        const ssize_t count = write(fd_, line.data() + written, line.size() - written);
        if (count < 0 && errno != EINTR) {
            return;  // nobody listens any more
        }
        written += count > 0 ? static_cast<size_t>(count) : 0;
    }
}

void PlayerLines::wait(int milliseconds) {
    pollfd waiting{fd_, POLLIN, 0};
    if (poll(&waiting, 1, milliseconds) <= 0 || fd_ < 0) {
        return;
    }
    char buffer[4096];
    const ssize_t count = read(fd_, buffer, sizeof buffer);
    if (count > 0) {
        pending_.append(buffer, static_cast<size_t>(count));
    } else if (count == 0) {
        close(fd_);
        fd_ = -1;
    }
}

std::optional<PlayerLine> PlayerLines::next() {
    const size_t end = pending_.find('\n');
    if (end == std::string::npos) {
        return std::nullopt;
    }
    PlayerLine line{static_cast<Told>(pending_[0]), 0, pending_.substr(1, end - 1)};
    line.value = std::strtol(line.text.c_str(), nullptr, 10);
    pending_.erase(0, end + 1);
    return line;
}

}  // namespace clientsim
