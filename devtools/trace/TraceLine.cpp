#include "devtools/trace/TraceLine.h"

#include <algorithm>
#include <array>

namespace tracefile {

namespace {

constexpr size_t kFieldCount = 11;
constexpr size_t kText = 5;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// A decimal number: no exponent, no infinity.
bool isNumber(std::string_view text) {
    if (text.starts_with('-')) {
        text.remove_prefix(1);
    }
    const size_t whole =
        static_cast<size_t>(std::find_if_not(text.begin(), text.end(), isDigit) - text.begin());
    if (whole == 0 || whole == text.size()) {
        return whole != 0;
    }
    const std::string_view fraction = text.substr(whole + 1);
    return text[whole] == '.' && !fraction.empty() && std::all_of(fraction.begin(), fraction.end(), isDigit);
}

// The number in the digits of `text`; -1 where there is anything else.
int digits(std::string_view text, size_t place, size_t count) {
    int number = 0;
    for (const char character : text.substr(place, count)) {
        if (!isDigit(character)) {
            return -1;
        }
        number = 10 * number + (character - '0');
    }
    return number;
}

}  // namespace

std::optional<TraceLine> splitTraceLine(std::string_view line) {
    std::array<std::string_view, kFieldCount> fields;
    std::string_view rest = line;
    for (size_t index = 0; index < kText; ++index) {
        const size_t comma = rest.find(',');
        if (comma == std::string_view::npos) {
            return std::nullopt;
        }
        fields[index] = rest.substr(0, comma);
        rest.remove_prefix(comma + 1);
    }
    for (size_t index = kFieldCount - 1; index > kText; --index) {
        const size_t comma = rest.rfind(',');
        if (comma == std::string_view::npos) {
            return std::nullopt;
        }
        fields[index] = rest.substr(comma + 1);
        rest.remove_suffix(rest.size() - comma);
    }
    fields[kText] = rest;
    for (const size_t number : {0, 1, 2, 4, 6, 8, 10}) {
        if (!isNumber(fields[number])) {
            return std::nullopt;
        }
    }
    return TraceLine{fields[0], fields[1], fields[2], fields[3], fields[4], fields[5],
                     fields[6], fields[7], fields[8], fields[9], fields[10]};
}

std::optional<std::chrono::milliseconds> parseTraceTime(std::string_view text) {
    constexpr std::string_view kForm = "0000-00-00 00:00:00.000";
    if (text.size() != kForm.size()) {
        return std::nullopt;
    }
    for (size_t place = 0; place < kForm.size(); ++place) {
        if (kForm[place] == '0' ? !isDigit(text[place]) : text[place] != kForm[place]) {
            return std::nullopt;
        }
    }
    const std::chrono::year_month_day day{std::chrono::year(digits(text, 0, 4)),
                                          std::chrono::month(static_cast<unsigned>(digits(text, 5, 2))),
                                          std::chrono::day(static_cast<unsigned>(digits(text, 8, 2)))};
    const int hour = digits(text, 11, 2);
    const int minute = digits(text, 14, 2);
    const int second = digits(text, 17, 2);
    if (!day.ok() || hour > 23 || minute > 59 || second > 59) {
        return std::nullopt;
    }
    return std::chrono::sys_days(day).time_since_epoch() + std::chrono::hours(hour) +
           std::chrono::minutes(minute) + std::chrono::seconds(second) +
           std::chrono::milliseconds(digits(text, 20, 3));
}

}  // namespace tracefile
