#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace platform {

/// What the text of a process's "stat" file says (proc(5)).
struct ProcessStat {
    std::string_view name;  ///< part of the text that was read
    char state = '?';
    uint64_t cpuTicks = 0;   ///< user and system, clock ticks
    uint64_t startTime = 0;  ///< clock ticks since boot
    uint64_t residentPages = 0;

    /// None if the text is not as expected. The name of a program, which stands in parentheses, may itself
    /// hold blanks and parentheses.
    static std::optional<ProcessStat> parse(std::string_view text);
};

}  // namespace platform
