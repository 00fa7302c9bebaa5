#include "reportproblem/LogCollector.h"

#include <algorithm>
#include <iterator>

#include "platform/HomePath.h"
#include "platform/PrivateFolder.h"
#include "platform/UserFiles.h"

namespace {

constexpr size_t kTimeDigits = 14;
constexpr std::string_view kTimePattern = "MMddyyyyHHmmss";
constexpr std::string_view kLogEnding = ".ovt";
constexpr std::string_view kSharedFolder = "/tmp/";

std::vector<std::string> namesIn(const std::string& folderPath) {
    if (!folderPath.starts_with(kSharedFolder))
        return platform::namesInUserFolder(platform::expandTilde(folderPath));
    const auto folder = platform::PrivateFolder::open(folderPath, platform::PrivateFolder::Create::no);
    return folder ? folder->entries() : std::vector<std::string>();
}

}  // namespace

LogCollector::LogCollector() {
    LogCollector::initLogFolderPath();
}

void LogCollector::initLogFolderPath() {
    setLogFolderPath("/tmp");
}

bool LogCollector::isExpectedLog(const std::string& /*name*/) const {
    return false;
}

const std::vector<std::string>& LogCollector::allLogsSortedByTimestamp() {
    findAllLogs();
    sortLogsByTimeStamp();
    return allLogs_;
}

std::string LogCollector::latestLog() {
    if (allLogs_.empty())
        allLogsSortedByTimestamp();
    return allLogs_.empty() ? std::string() : allLogs_.front();
}

void LogCollector::findAllLogs() {
    const std::string folder = platform::expandTilde(logFolderPath_) + "/";
    for (const auto& name : namesIn(logFolderPath_)) {
        if (isExpectedLog(name))
            allLogs_.push_back(folder + name);
    }
}

std::optional<support::SystemTime> LogCollector::timestampFromLogFile(const std::string& path) const {
    const auto time = getTimeStringFromLogFile(path);
    return time ? support::parseDate(*time, kTimePattern) : std::nullopt;
}

std::optional<std::string> LogCollector::getTimeStringFromLogFile(const std::string& path) const {
    std::string name = path.substr(path.rfind('/') + 1);
    for (size_t at = 0; (at = name.find(kLogEnding, at)) != std::string::npos;)
        name.erase(at, kLogEnding.size());
    return getFirst14DigitsFromPureDigitsString(stringByRemovingAllNonDigits(name));
}

std::string LogCollector::stringByRemovingAllNonDigits(const std::string& text) const {
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
                 [](char c) { return c >= '0' && c <= '9'; });
    return digits;
}

std::optional<std::string> LogCollector::getFirst14DigitsFromPureDigitsString(
    const std::string& digits) const {
    if (digits.size() < kTimeDigits)
        return std::nullopt;
    return digits.substr(0, kTimeDigits);
}

// An undated log goes to the front, and no later log gets behind it: the logs between two undated ones are
// sorted among themselves, the later stretches stand in front of the earlier ones, and of two logs of
// one time the later one is first. So the list is turned round and its dated stretches are sorted.
void LogCollector::sortLogsByTimeStamp() {
    struct Log {
        std::string* path;
        std::optional<support::SystemTime> time;
    };
    std::vector<std::string> paths = std::move(allLogs_);
    std::vector<Log> logs;
    logs.reserve(paths.size());
    for (auto path = paths.rbegin(); path != paths.rend(); ++path)
        logs.push_back({&*path, timestampFromLogFile(*path)});
    const auto isDated = [](const Log& log) { return log.time.has_value(); };
    for (auto begin = logs.begin(); begin != logs.end();) {
        begin = std::find_if(begin, logs.end(), isDated);
        const auto end = std::find_if_not(begin, logs.end(), isDated);
        std::stable_sort(begin, end, [](const Log& a, const Log& b) { return *a.time > *b.time; });
        begin = end;
    }
    allLogs_.clear();
    for (const auto& log : logs)
        allLogs_.push_back(std::move(*log.path));
}

bool LogCollector::isNamed(std::string_view name, std::string_view prefix, std::string_view extension) {
    const size_t dot = name.rfind('.');
    const std::string_view own = dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
    return own == extension && name.starts_with(prefix);
}

bool LogCollector::contains(std::string_view name, std::string_view keyword) {
    return name.find(keyword) != std::string_view::npos;
}
