#include "platform/ProcessStat.h"

#include <charconv>

namespace platform {
namespace {

std::optional<uint64_t> numberIn(std::string_view text) {
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() ? std::optional(value) : std::nullopt;
}

}  // namespace

// Behind the name, the state and then numbers only.
std::optional<ProcessStat> ProcessStat::parse(std::string_view text) {
    enum Field { kState, kUserTicks = 11, kSystemTicks = 12, kStartTicks = 19, kResidentPages = 21 };
    const size_t open = text.find('(');
    const size_t shut = text.rfind(')');
    if (open == std::string_view::npos || shut == std::string_view::npos || shut < open ||
        text.size() < shut + 3)
        return std::nullopt;
    ProcessStat stat;
    stat.name = text.substr(open + 1, shut - open - 1);
    std::string_view rest = text.substr(shut + 2);
    stat.state = rest.front();
    for (int field = kState; field <= kResidentPages; ++field) {
        if (rest.empty())
            return std::nullopt;
        const auto value = numberIn(rest);
        if (field == kUserTicks || field == kSystemTicks || field == kStartTicks || field == kResidentPages) {
            if (!value)
                return std::nullopt;
            if (field == kStartTicks)
                stat.startTime = *value;
            else if (field == kResidentPages)
                stat.residentPages = *value;
            else
                stat.cpuTicks += *value;
        }
        const size_t blank = rest.find(' ');
        rest = blank == std::string_view::npos ? std::string_view() : rest.substr(blank + 1);
    }
    return stat;
}

}  // namespace platform
