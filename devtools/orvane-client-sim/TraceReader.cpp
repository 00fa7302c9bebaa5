#include "TraceReader.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

namespace clientsim {

namespace {

constexpr size_t kFieldCount = 11;
constexpr size_t kDescription = 5;
constexpr std::string_view kParametersModule = "39";
constexpr std::string_view kEncodedId = "1.0";

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t end = text.find(separator); end != std::string_view::npos;
         end = text.find(separator, start)) {
        parts.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    parts.emplace_back(text.substr(start));
    return parts;
}

bool isNumber(const std::string& text) {
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return !text.empty() && result.ec == std::errc() && result.ptr == text.data() + text.size();
}

std::optional<TraceRecord> parseRecord(std::string_view line) {
    std::vector<std::string> fields = split(line, ',');
    while (fields.size() > kFieldCount) {
        fields[kDescription] += "," + fields[kDescription + 1];
        fields.erase(fields.begin() + kDescription + 1);
    }
    if (fields.size() < kFieldCount) {
        return std::nullopt;
    }
    for (const size_t number : {0, 1, 2, 4, 6, 8, 10}) {
        if (!isNumber(fields[number])) {
            return std::nullopt;
        }
    }
    if (fields[0] == kParametersModule && fields[4] == kEncodedId) {
        fields[kDescription] = decodeBase64(fields[kDescription]).value_or(fields[kDescription]);
    }
    return TraceRecord{fields[0], fields[1], fields[2], fields[3], fields[4], fields[5],
                       fields[6], fields[7], fields[8], fields[9], fields[10]};
}

int base64Digit(char character) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const size_t place = kDigits.find(character);
    return place == std::string_view::npos ? -1 : static_cast<int>(place);
}

}  // namespace

Trace parseTrace(std::string_view text) {
    Trace trace;
    int number = 0;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        ++number;
        if (auto record = parseRecord(line)) {
            trace.records.push_back(*std::move(record));
        } else {
            trace.badLines.push_back(number);
        }
    }
    return trace;
}

std::string moduleName(const std::string& module) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 9> kNames{{
        {"7", "video quality"},
        {"8", "sharing quality"},
        {"9", "audio quality"},
        {"30", "system resources"},
        {"31", "network"},
        {"32", "meeting services"},
        {"39", "session parameters"},
        {"40", "client quit"},
        {"42", "user-interface event"},
    }};
    for (const auto& [number, name] : kNames) {
        if (number == module) {
            return std::string(name);
        }
    }
    return module;
}

std::optional<Topic> parseTopic(std::string_view text) {
    const std::vector<std::string> lines = split(text, '\n');
    if (lines.size() < 2) {
        return std::nullopt;
    }
    auto name = decodeBase64(lines[0]);
    if (!name) {
        return std::nullopt;
    }
    return Topic{*std::move(name), lines[1]};
}

std::optional<std::string> decodeBase64(std::string_view text) {
    size_t padding = 0;
    while (padding < 2 && text.ends_with('=')) {
        text.remove_suffix(1);
        ++padding;
    }
    if ((text.size() + padding) % 4 != 0) {
        return std::nullopt;
    }
    std::string bytes;
    uint32_t bits = 0;
    int bitCount = 0;
    for (const char character : text) {
        const int digit = base64Digit(character);
        if (digit < 0) {
            return std::nullopt;
        }
        bits = (bits << 6 | static_cast<uint32_t>(digit)) & 0xffffff;
        bitCount += 6;
        if (bitCount >= 8) {
            bitCount -= 8;
            bytes.push_back(static_cast<char>(bits >> bitCount & 0xff));
        }
    }
    return bytes;
}

}  // namespace clientsim
