#include "Base64.h"

#include <algorithm>
#include <cstdint>

namespace orvanereport {

std::string encodeBase64(std::string_view bytes) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t place = 0; place < bytes.size(); place += 3) {
        const size_t count = std::min<size_t>(3, bytes.size() - place);
        uint32_t bits = 0;
        for (size_t index = 0; index < 3; ++index) {
            bits = bits << 8 | (index < count ? static_cast<unsigned char>(bytes[place + index]) : 0);
        }
        for (size_t index = 0; index < 4; ++index) {
            text += index <= count ? kDigits[bits >> (18 - 6 * index) & 63] : '=';
        }
    }
    return text;
}

}  // namespace orvanereport
