#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "support/DatePattern.h"

// Dates and texts by Unicode date patterns (UTS #35), in local time. Any thread.

/// The date that `text` says by the pattern; none if it does not.
std::optional<support::SystemTime> dga_fetchDateFromSpecificFormat(std::string_view text,
                                                                   std::string_view pattern);

/// The current time by the pattern.
std::string dga_transformToCurrentDateString(std::string_view pattern);

/// The current local time as ISO 8601 has it, with the offset: "2026-11-21T10:15:03+01:00".
std::string dga_currentISODateString();
