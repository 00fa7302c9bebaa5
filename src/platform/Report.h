#pragma once

#include <string_view>

namespace platform {

/// How much a line of the log matters; the numbers stand in the log.
enum class LogLevel { info = 2, notice = 4, warning = 8 };

/// What a platform service has to say beyond its return value.
using Reporter = void (*)(LogLevel level, std::string_view text);

/// Sends later reports to `reporter`, or back to standard error with nullptr. Any thread.
void setReporter(Reporter reporter);

/// Hand one line to the reporter. Before one is set, warnings go to standard error and the others nowhere.
/// Any thread.
void reportInfo(std::string_view text);
void reportNotice(std::string_view text);
void reportWarning(std::string_view text);

}  // namespace platform
