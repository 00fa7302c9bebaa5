#include "platform/RunningApplications.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/ProcessStat.h"
#include "platform/Report.h"

namespace platform {
namespace {

constexpr size_t kMaxFileLength = 4096;

// Empty, with errno, if the file cannot be read.
std::string readBeginning(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return {};
    std::string text(kMaxFileLength, '\0');
    const ssize_t length = read(file, text.data(), text.size());
    const int why = errno;
    close(file);
    errno = why;
    text.resize(length > 0 ? static_cast<size_t>(length) : 0);
    return text;
}

bool isGone(int why) {
    return why == ENOENT || why == ESRCH || why == ENOTDIR || why == EACCES;
}

std::optional<pid_t> decimal(const std::string& text) {
    pid_t number = 0;
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end || number <= 0 || std::to_string(number) != text)
        return std::nullopt;
    return number;
}

}  // namespace

// The folder of a process that may not be debugged belongs to root, whoever runs it. What cannot be read for
// a moment, this process being out of handles or memory, says nothing: only a clear answer is a "no".
bool RunningApplications::isOwnedByUser(const std::string& folder) {
    struct stat info {};
    if (stat(folder.c_str(), &info) != 0)
        return !isGone(errno);
    if (info.st_uid == geteuid())
        return true;
    if (info.st_uid != 0)
        return false;
    constexpr std::string_view kKey = "\nUid:\t";
    errno = 0;
    const std::string status = readBeginning(folder + "/status");
    if (status.empty())
        return errno != 0 && !isGone(errno);
    const size_t at = status.find(kKey);
    return at != std::string::npos &&
           std::strtoul(status.c_str() + at + kKey.size(), nullptr, 10) == geteuid();
}

std::optional<RunningApplication> RunningApplications::withProcessIdentifier(const std::string& text) const {
    const auto processIdentifier = decimal(text);
    if (!processIdentifier)
        return std::nullopt;
    const std::string folder = root_ + "/" + text;
    if (!isOwnedByUser(folder))
        return std::nullopt;
    errno = 0;
    const std::string line = readBeginning(folder + "/stat");
    const auto stat = ProcessStat::parse(line);
    if (!stat) {
        // It went while it was looked at, or this process is out of handles: that says nothing about it.
        if (isGone(errno))
            return std::nullopt;
        reportWarning("the state of process " + text + " cannot be read: " + std::strerror(errno));
        return RunningApplication{*processIdentifier, 0};
    }
    if (stat->state == 'Z' || stat->state == 'X')
        return std::nullopt;
    return RunningApplication{*processIdentifier, stat->startTime};
}

}  // namespace platform
