#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"

#include <array>
#include <ctime>

std::optional<support::SystemTime> dga_fetchDateFromSpecificFormat(std::string_view text,
                                                                   std::string_view pattern) {
    return support::parseDate(text, pattern);
}

std::string dga_transformToCurrentDateString(std::string_view pattern) {
    return support::formatDate(std::chrono::system_clock::now(), pattern);
}

std::string dga_currentISODateString() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 40> text{};
    const size_t length = std::strftime(text.data(), text.size(), "%FT%T%z", &local);
    std::string date(text.data(), length);
    if (date.size() > 2)
        date.insert(date.size() - 2, 1, ':');
    return date;
}
