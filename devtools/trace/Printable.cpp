#include "devtools/trace/Printable.h"

#include <algorithm>
#include <cstdint>

namespace tracefile {

namespace {

/// The bytes of the UTF-8 character at `place`; 0 when there is none.
size_t characterLength(std::string_view text, size_t place) {
    const auto first = static_cast<uint8_t>(text[place]);
    const size_t length = first < 0x80                     ? 1
                          : first >= 0xc2 && first <= 0xdf ? 2
                          : (first & 0xf0) == 0xe0         ? 3
                          : first >= 0xf0 && first <= 0xf4 ? 4
                                                           : 0;
    if (length == 0 || place + length > text.size()) {
        return 0;
    }
    const auto isFollowing = [](char byte) { return (static_cast<uint8_t>(byte) & 0xc0) == 0x80; };
    const auto start = text.begin() + static_cast<std::string::difference_type>(place);
    return std::all_of(start + 1, start + static_cast<std::string::difference_type>(length), isFollowing)
               ? length
               : 0;
}

bool isControl(std::string_view text, size_t place) {
    const auto first = static_cast<uint8_t>(text[place]);
    return first < 0x20 || first == 0x7f || (first == 0xc2 && static_cast<uint8_t>(text[place + 1]) < 0xa0);
}

}  // namespace

std::string printable(std::string_view text) {
    std::string result;
    for (size_t place = 0; place < text.size();) {
        const size_t length = characterLength(text, place);
        const bool bad = length == 0 || isControl(text, place);
        result += bad ? "?" : text.substr(place, length);
        place += std::max<size_t>(length, 1);
    }
    return result;
}

}  // namespace tracefile
