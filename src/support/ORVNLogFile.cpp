#include "support/ORVNLogFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <iterator>
#include <utility>
#include <vector>

#include "support/DatePattern.h"

namespace support {
namespace {

constexpr std::string_view kExtension = ".ovt";
constexpr std::string_view kStampPattern = "MMddyyyyHHmmss";
constexpr size_t kStampLength = 14;
constexpr size_t kCounterLength = 2;
constexpr int64_t kRetrySeconds = 2;

int64_t monotonicSeconds() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace

ORVNLogFile::ORVNLogFile(std::string folder, std::string prefix, int maxFiles)
    : folder_(std::move(folder)),
      prefix_(std::move(prefix)),
      maxFiles_(static_cast<size_t>(std::max(maxFiles, 1))) {}

ORVNLogFile::~ORVNLogFile() {
    closeFile();
}

std::optional<std::string> ORVNLogFile::path() {
    const std::lock_guard<std::mutex> hold(mutex_);
    return file_ < 0 ? std::nullopt : std::optional(folder_ + "/" + name_);
}

void ORVNLogFile::sink_it_(const spdlog::details::log_msg& message) {
    spdlog::memory_buf_t line;
    if (dropped_ > 0)
        fmt::format_to(std::back_inserter(line), "({} lines could not be written here)\n", dropped_);
    formatter_->format(message, line);
    const bool written = ensureFile(static_cast<int64_t>(line.size())) && write({line.data(), line.size()});
    dropped_ = written ? 0 : dropped_ + 1;
}

bool ORVNLogFile::ensureFile(int64_t room) {
    if (file_ >= 0 && size_ + room <= kMaxFileSize)
        return true;
    if (file_ < 0 && monotonicSeconds() < nextTry_)
        return false;
    closeFile();
    if (beginFile())
        return true;
    nextTry_ = monotonicSeconds() + kRetrySeconds;
    return false;
}

bool ORVNLogFile::beginFile() {
    const auto folder = platform::PrivateFolder::open(folder_, platform::PrivateFolder::Create::yes);
    if (!folder)
        return false;
    const std::string stamp = formatDate(std::chrono::system_clock::now(), kStampPattern);
    for (int counter = 1; counter < 100 && file_ < 0; ++counter) {
        name_ = fmt::format("{}{}{:02}{}", prefix_, stamp, counter, kExtension);
        file_ = openat(folder->handle(), name_.c_str(),
                       O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (file_ < 0 && errno != EEXIST)
            return false;
    }
    size_ = 0;
    removeOldFiles(*folder);
    return file_ >= 0;
}

bool ORVNLogFile::isLogName(const std::string& name) const {
    const size_t digits = kStampLength + kCounterLength;
    return name.size() == prefix_.size() + digits + kExtension.size() && name.starts_with(prefix_) &&
           name.ends_with(kExtension) &&
           name.find_first_not_of("0123456789", prefix_.size()) == prefix_.size() + digits;
}

void ORVNLogFile::removeOldFiles(const platform::PrivateFolder& folder) const {
    // Year before month, so that the order of the texts is the order of time.
    std::vector<std::pair<std::string, std::string>> files;
    for (auto& name : folder.entries()) {
        if (!isLogName(name))
            continue;
        const std::string digits = name.substr(prefix_.size(), kStampLength + kCounterLength);
        files.emplace_back(digits.substr(4, 4) + digits.substr(0, 4) + digits.substr(8), std::move(name));
    }
    std::sort(files.begin(), files.end());
    for (size_t i = 0; i + maxFiles_ < files.size(); ++i) {
        if (files[i].second != name_)
            folder.remove(files[i].second);
    }
}

bool ORVNLogFile::write(std::string_view line) {
    const auto length = static_cast<ssize_t>(line.size());
    ssize_t written = 0;
    do {
        written = ::write(file_, line.data(), line.size());
    } while (written < 0 && errno == EINTR);
    if (written == length) {
        size_ += length;
        return true;
    }
    if (written > 0 && ftruncate(file_, size_) != 0)
        size_ += written;
    return false;
}

void ORVNLogFile::closeFile() {
    if (file_ >= 0)
        close(file_);
    file_ = -1;
}

}  // namespace support
