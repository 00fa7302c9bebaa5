#include "devtools/trace/TraceReader.h"

#include <cstdint>
#include <utility>

#include "devtools/trace/TraceLine.h"

namespace tracefile {

namespace {

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

std::optional<TraceRecord> parseRecord(std::string_view line) {
    const auto fields = splitTraceLine(line);
    if (!fields) {
        return std::nullopt;
    }
    std::optional<std::string> decoded;
    if (fields->isEncoded()) {
        decoded = decodeBase64(fields->text);
    }
    return TraceRecord{std::string(fields->module),
                       std::string(fields->level),
                       std::string(fields->interaction),
                       std::string(fields->basicInfo),
                       std::string(fields->id),
                       std::move(decoded).value_or(std::string(fields->text)),
                       std::string(fields->value),
                       std::string(fields->reserved),
                       std::string(fields->reservedValue),
                       std::string(fields->time),
                       std::string(fields->thread)};
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

}  // namespace tracefile
