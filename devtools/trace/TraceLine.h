#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace tracefile {

/// One line of a trace file, taken apart where it lies: the views end with the line.
struct TraceLine {
    std::string_view module;
    std::string_view level;
    std::string_view interaction;
    std::string_view basicInfo;
    std::string_view id;
    std::string_view text;  ///< as it stands there; see isEncoded()
    std::string_view value;
    std::string_view reserved;
    std::string_view reservedValue;
    std::string_view time;
    std::string_view thread;

    /// Whether the text is base64.
    bool isEncoded() const { return module == "39" && id == "1.0"; }
};

/// Takes a line without its line break apart; nothing when it is not a record. Fields are not quoted: commas
/// beyond the ten that separate the fields belong to the text, the one field that may hold them.
std::optional<TraceLine> splitTraceLine(std::string_view line);

/// The milliseconds from 1970-01-01 00:00 to `text`, "yyyy-MM-dd HH:mm:ss.SSS", both on the same clock;
/// nothing when it is not of that form, or no day or time of day.
std::optional<std::chrono::milliseconds> parseTraceTime(std::string_view text);

}  // namespace tracefile
