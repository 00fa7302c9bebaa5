#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tracefile {

/// One line of a trace file, its fields as they stand there.
struct TraceRecord {
    std::string module;
    std::string level;
    std::string interaction;
    std::string basicInfo;
    std::string id;
    std::string text;  ///< readable: decoded where the file holds base64
    std::string value;
    std::string reserved;
    std::string reservedValue;
    std::string time;
    std::string thread;
};

struct Trace {
    std::vector<TraceRecord> records;
    std::vector<int> badLines;  ///< numbers, from 1, of lines that are not records
};

/// Takes a trace file's text apart, line by line as splitTraceLine() does.
Trace parseTrace(std::string_view text);

struct Topic {
    std::string meetingName;
    std::string time;
};

/// Reads a topic file: the meeting's name in base64 on the first line, the time on the second. Nothing
/// when it is not of that form.
std::optional<Topic> parseTopic(std::string_view text);

/// The bytes of base64 text; nothing when it is not base64.
std::optional<std::string> decodeBase64(std::string_view text);

}  // namespace tracefile
