#include "reportproblem/LogCollector.h"

#include <algorithm>
#include <ctime>

#include "platform/HomePath.h"
#include "platform/PrivateFolder.h"
#include "platform/UserFiles.h"

namespace {

constexpr size_t kTimeDigits = 14;
constexpr std::string_view kSharedFolder = "/tmp/";

std::vector<std::string> namesIn(const std::string& folderPath) {
    if (!folderPath.starts_with(kSharedFolder))
        return platform::namesInUserFolder(platform::expandTilde(folderPath));
    const auto folder = platform::PrivateFolder::open(folderPath, platform::PrivateFolder::Create::no);
    return folder ? folder->entries() : std::vector<std::string>();
}

// The first digits of a text, at most so many.
std::string digitsOf(std::string_view text, size_t most) {
    std::string digits;
    for (const char c : text) {
        if (c < '0' || c > '9')
            continue;
        digits += c;
        if (digits.size() == most)
            break;
    }
    return digits;
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
    const auto names = namesIn(logFolderPath_);
    allLogs_.reserve(allLogs_.size() + names.size());
    for (const auto& name : names) {
        if (!isExpectedLog(name))
            continue;
        auto& path = allLogs_.emplace_back();
        path.reserve(folder.size() + name.size());
        path.append(folder).append(name);
    }
}

std::optional<support::SystemTime> LogCollector::timestampFromLogFile(const std::string& path) const {
    const auto time = getTimeStringFromLogFile(path);
    if (!time || time->size() != kTimeDigits)
        return std::nullopt;
    const auto pair = [&](size_t at) { return ((*time)[at] - '0') * 10 + (*time)[at + 1] - '0'; };
    std::tm said{};
    said.tm_mon = pair(0) - 1;
    said.tm_mday = pair(2);
    said.tm_year = pair(4) * 100 + pair(6) - 1900;
    said.tm_hour = pair(8);
    said.tm_min = pair(10);
    said.tm_sec = pair(12);
    return support::localTime(said);
}

std::optional<std::string> LogCollector::getTimeStringFromLogFile(const std::string& path) const {
    // No more of them are needed, and a short text costs no memory: there are thousands of logs.
    const std::string_view name = std::string_view(path).substr(path.rfind('/') + 1);
    return getFirst14DigitsFromPureDigitsString(digitsOf(name, kTimeDigits));
}

std::string LogCollector::stringByRemovingAllNonDigits(const std::string& text) const {
    return digitsOf(text, std::string::npos);
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
    allLogs_.reserve(logs.size());
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
