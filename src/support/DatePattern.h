#pragma once

#include <chrono>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace support {

using SystemTime = std::chrono::system_clock::time_point;

/// Local time by a Unicode date pattern (UTS #35): runs of y, M, d, H, m, s and S (fraction of a
/// second) of any length, padded with zeros to that length; every other character stands for itself.
std::string formatDate(SystemTime time, std::string_view pattern);

/// The local time that a text says by such a pattern; every field but the year takes exactly as many digits
/// as its letters, "yyyy" four. None if the text does not fit, has more, or names no existing date.
std::optional<SystemTime> parseDate(std::string_view text, std::string_view pattern);

/// The local time of a date's fields, all but the days of the week and of the year. None if it does not
/// exist.
std::optional<SystemTime> localTime(const std::tm& said);

}  // namespace support
