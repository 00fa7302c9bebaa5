#pragma once

#include <fmt/format.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Report.h"

/// The program's log: files <prefix><MMddyyyyHHmmss><two digits>.ovt (local time of their beginning)
/// in /tmp/orvtrace/<sub path>, each of at most 10 MB; when a new one begins, the oldest beyond the
/// given number are removed. Every line is on disk when log() returns. Lines are dropped, and their
/// number told when writing works again, while the folder cannot be used or the disk is full.
/// Any thread.
class ORVNLogger {
public:
    using LogLevel = platform::LogLevel;

    /// The keys of the three settings have these fields' names: kORVNLogKeySubPath,
    /// kORVNLogKeyFileNamePrefix, kORVNLogKeyMaxFileNum.
    struct Params {
        std::string subPath;
        std::string fileNamePrefix;
        int maxFileNum = 1;
    };

    /// The one logger of the process; it is never destroyed, so it can be used until the end.
    static ORVNLogger& sharedLogger();

    /// Begins to log to files. Before this, lines of level 8 go to standard error and others nowhere.
    /// Also takes over what the platform's services report, under the module "orvdga".
    void initParams(const Params& params);

    /// Hands the lines to another process's log instead of to files; instead of initParams(). The sink is
    /// called by the logging thread.
    using Sink = std::function<void(std::string_view module, LogLevel level, std::string_view text)>;
    void setSink(Sink sink);

    /// Writes one line. The calls below the class say it shorter.
    template <typename... Args>
    void log(std::string_view module, LogLevel level, fmt::format_string<Args...> format, Args&&... args) {
        writeLine(module, level, fmt::vformat(format, fmt::make_format_args(args...)));
    }

    /// Full path of the file that is being written; none before initParams() and while there is no file.
    std::optional<std::string> logFileName() const;

    /// Writes a text as it is, without taking it for a format; at most its first 64 KiB.
    void writeLine(std::string_view module, LogLevel level, std::string_view text);

    ORVNLogger(const ORVNLogger&) = delete;
    ORVNLogger& operator=(const ORVNLogger&) = delete;

private:
    ORVNLogger();
    struct State;
    std::unique_ptr<State> state_;
};

namespace support {

/// "Class::method" out of a compiler's pretty function name.
std::string_view methodName(std::string_view prettyFunction);

/// A text for "%@": "(null)" for a missing one.
inline std::string_view orNull(const std::optional<std::string>& text) {
    return text ? std::string_view(*text) : std::string_view("(null)");
}

}  // namespace support

/// The log module of the assistant.
inline constexpr char kORVNLogModule[] = "orvdga";

/// One line of the assistant's own, at level 2, 4 or 8. Any thread.
template <typename... Args>
void logInfo(fmt::format_string<Args...> format, Args&&... args) {
    ORVNLogger::sharedLogger().log(kORVNLogModule, platform::LogLevel::info, format,
                                   std::forward<Args>(args)...);
}
template <typename... Args>
void logNotice(fmt::format_string<Args...> format, Args&&... args) {
    ORVNLogger::sharedLogger().log(kORVNLogModule, platform::LogLevel::notice, format,
                                   std::forward<Args>(args)...);
}
template <typename... Args>
void logWarning(fmt::format_string<Args...> format, Args&&... args) {
    ORVNLogger::sharedLogger().log(kORVNLogModule, platform::LogLevel::warning, format,
                                   std::forward<Args>(args)...);
}

/// The enclosing method's full name, "Class::method".
#define ORVN_METHOD_NAME ::support::methodName(static_cast<const char*>(__PRETTY_FUNCTION__))

/// Logs that the enclosing method was entered: its full name, at level 2.
#define ORVN_LOG_METHOD() \
    ORVNLogger::sharedLogger().writeLine(kORVNLogModule, platform::LogLevel::info, ORVN_METHOD_NAME)
