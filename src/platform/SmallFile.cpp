#include "platform/SmallFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace platform {
namespace {

// One byte more than allowed tells a file that grew while it was read.
std::optional<std::string> readAll(int file, size_t longest) {
    std::string bytes(longest + 1, '\0');
    size_t length = 0;
    while (length < bytes.size()) {
        const ssize_t count = read(file, bytes.data() + length, bytes.size() - length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        length += static_cast<size_t>(count);
    }
    if (length > longest)
        return std::nullopt;
    bytes.resize(length);
    bytes.shrink_to_fit();
    return bytes;
}

}  // namespace

std::optional<std::string> readSmallFile(const std::string& path, size_t longest) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return std::nullopt;
    struct stat info {};
    std::optional<std::string> bytes;
    if (fstat(file, &info) == 0 && S_ISREG(info.st_mode))
        bytes = readAll(file, longest);
    close(file);
    return bytes;
}

}  // namespace platform
