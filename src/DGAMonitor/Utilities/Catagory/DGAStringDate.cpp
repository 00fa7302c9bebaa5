#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"

std::optional<support::SystemTime> dga_fetchDateFromSpecificFormat(std::string_view text,
                                                                   std::string_view pattern) {
    return support::parseDate(text, pattern);
}

std::string dga_transformToCurrentDateString(std::string_view pattern) {
    return support::formatDate(std::chrono::system_clock::now(), pattern);
}
