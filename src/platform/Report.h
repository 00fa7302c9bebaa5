#pragma once

#include <string_view>

namespace platform {

/// What a platform service has to say beyond its return value. The levels are the log's own:
/// 2 information, 4 notice, 8 warning or failure.
using Reporter = void (*)(int level, std::string_view text);

/// Sends later reports to `reporter`, or back to standard error with nullptr. Any thread.
void setReporter(Reporter reporter);

/// Hands one line to the reporter. Before one is set, lines of level 8 go to standard error and the
/// others nowhere. Any thread.
void report(int level, std::string_view text);

}  // namespace platform
