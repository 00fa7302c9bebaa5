#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/DatePattern.h"

/// Finds the logs of one kind in one folder and puts the newest first. A kind is a folder and a rule for
/// file names. Nothing but the listing is read, and nothing is changed. One thread at a time.
class LogCollector {
public:
    LogCollector();
    virtual ~LogCollector() = default;
    LogCollector(const LogCollector&) = delete;
    LogCollector& operator=(const LogCollector&) = delete;

    /// Lists the folder and returns the full paths of all logs found so far, newest first. What an earlier
    /// call has found stays in the list, so that a second call returns every log twice.
    virtual const std::vector<std::string>& allLogsSortedByTimestamp();

    /// The first of the logs found so far; lists the folder only while there are none. "" for none.
    virtual std::string latestLog();

    /// Adds what the folder holds, in the order of the file system. A folder that cannot be listed, or one
    /// below /tmp that is not the user's own, holds nothing.
    virtual void findAllLogs();

    /// The local time that the first 14 digits of the file name say as "MMddyyyyHHmmss".
    virtual std::optional<support::SystemTime> timestampFromLogFile(const std::string& path) const;
    virtual std::optional<std::string> getTimeStringFromLogFile(const std::string& path) const;

    /// Sorts the logs found so far by inserting one after another: a dated log in front of the first that is
    /// not newer or has no date, an undated one at the very front.
    virtual void sortLogsByTimeStamp();

    /// Whether a file name, without its folder, is of this kind.
    virtual bool isExpectedLog(const std::string& name) const;

    virtual void initLogFolderPath();

    virtual std::string stringByRemovingAllNonDigits(const std::string& text) const;
    virtual std::optional<std::string> getFirst14DigitsFromPureDigitsString(const std::string& digits) const;

    /// The folder that is listed; a "~" at its beginning is the user's home folder.
    const std::string& logFolderPath() const { return logFolderPath_; }
    void setLogFolderPath(std::string path) { logFolderPath_ = std::move(path); }

protected:
    const std::vector<std::string>& allLogs() const { return allLogs_; }

    /// Whether the text after the last "." is `extension` and the name begins with `prefix`.
    static bool isNamed(std::string_view name, std::string_view prefix, std::string_view extension);
    static bool contains(std::string_view name, std::string_view keyword);

private:
    std::string logFolderPath_;
    std::vector<std::string> allLogs_;
};
