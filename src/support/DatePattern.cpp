#include "support/DatePattern.h"

#include <ctime>

namespace support {
namespace {

constexpr std::string_view kFields = "yMdHmsS";

size_t runLength(std::string_view pattern) {
    const size_t end = pattern.find_first_not_of(pattern.front());
    return end == std::string_view::npos ? pattern.size() : end;
}

void appendNumber(std::string& text, long value, size_t width) {
    const std::string digits = std::to_string(value);
    if (digits.size() < width)
        text.append(width - digits.size(), '0');
    text += digits;
}

void appendFraction(std::string& text, long milliseconds, size_t width) {
    std::string digits;
    appendNumber(digits, milliseconds, 3);
    digits.resize(width, '0');
    text += digits;
}

int* fieldOf(std::tm& time, char letter) {
    switch (letter) {
        case 'y':
            return &time.tm_year;
        case 'M':
            return &time.tm_mon;
        case 'd':
            return &time.tm_mday;
        case 'H':
            return &time.tm_hour;
        case 'm':
            return &time.tm_min;
        default:
            return &time.tm_sec;
    }
}

int offsetOf(char letter) {
    if (letter == 'y')
        return 1900;
    return letter == 'M' ? 1 : 0;
}

std::optional<int> takeNumber(std::string_view& text, size_t width) {
    if (text.size() < width)
        return std::nullopt;
    int value = 0;
    for (const char c : text.substr(0, width)) {
        if (c < '0' || c > '9')
            return std::nullopt;
        value = value * 10 + (c - '0');
    }
    text.remove_prefix(width);
    return value;
}

}  // namespace

std::string formatDate(SystemTime time, std::string_view pattern) {
    using namespace std::chrono;
    const auto seconds = floor<std::chrono::seconds>(time);
    const std::time_t plain = system_clock::to_time_t(seconds);
    std::tm local{};
    localtime_r(&plain, &local);
    std::string text;
    while (!pattern.empty()) {
        const char letter = pattern.front();
        const size_t width = runLength(pattern);
        if (kFields.find(letter) == std::string_view::npos)
            text.append(width, letter);
        else if (letter == 'S')
            appendFraction(text, static_cast<long>(duration_cast<milliseconds>(time - seconds).count()),
                           width);
        else
            appendNumber(text, *fieldOf(local, letter) + offsetOf(letter), width);
        pattern.remove_prefix(width);
    }
    return text;
}

std::optional<SystemTime> localTime(const std::tm& said) {
    std::tm found = said;
    found.tm_isdst = -1;
    const std::time_t plain = std::mktime(&found);
    if (found.tm_year != said.tm_year || found.tm_mon != said.tm_mon || found.tm_mday != said.tm_mday ||
        found.tm_min != said.tm_min || found.tm_sec != said.tm_sec)
        return std::nullopt;
    return std::chrono::system_clock::from_time_t(plain);
}

std::optional<SystemTime> parseDate(std::string_view text, std::string_view pattern) {
    std::tm said{};
    said.tm_mday = 1;
    said.tm_year = 100;
    while (!pattern.empty()) {
        const char letter = pattern.front();
        const size_t width = runLength(pattern);
        if (letter == 'S' || kFields.find(letter) == std::string_view::npos) {
            if (letter == 'S' ? !takeNumber(text, width) : text.substr(0, width) != pattern.substr(0, width))
                return std::nullopt;
            if (letter != 'S')
                text.remove_prefix(width);
        } else {
            const auto number = takeNumber(text, letter == 'y' ? 4 : width);
            if (!number)
                return std::nullopt;
            *fieldOf(said, letter) = *number - offsetOf(letter);
        }
        pattern.remove_prefix(width);
    }
    if (!text.empty())
        return std::nullopt;
    return localTime(said);
}

}  // namespace support
