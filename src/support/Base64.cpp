#include "support/Base64.h"

#include <array>
#include <cstdint>

namespace support {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kOutside = 0xFF;

constexpr std::array<uint8_t, 256> reverseAlphabet() {
    std::array<uint8_t, 256> values{};
    values.fill(kOutside);
    for (size_t i = 0; i < kAlphabet.size(); ++i)
        values[static_cast<uint8_t>(kAlphabet[i])] = static_cast<uint8_t>(i);
    return values;
}

}  // namespace

std::string base64Encode(std::string_view bytes, size_t lineLength) {
    std::string text;
    const size_t length = (bytes.size() + 2) / 3 * 4;
    text.reserve(length + (lineLength ? length / lineLength * 2 : 0));
    size_t inLine = 0;
    const auto put = [&](char c) {
        if (lineLength && inLine == lineLength) {
            text += "\r\n";
            inLine = 0;
        }
        text += c;
        ++inLine;
    };
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t count = std::min<size_t>(3, bytes.size() - i);
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < count ? static_cast<uint8_t>(bytes[i + k]) : 0U);
        for (size_t k = 0; k < 4; ++k)
            put(k <= count ? kAlphabet[group >> (18 - 6 * k) & 0x3F] : '=');
    }
    return text;
}

std::optional<std::string> base64Decode(std::string_view text) {
    static constexpr auto kValues = reverseAlphabet();
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    uint32_t bits = 0;
    unsigned digits = 0;
    unsigned padding = 0;
    for (const char c : text) {
        if (c == '=') {
            ++padding;
            continue;
        }
        const uint8_t value = kValues[static_cast<uint8_t>(c)];
        if (value == kOutside)
            continue;
        if (padding)
            return std::nullopt;
        bits = bits << 6 | value;
        ++digits;
        if (digits % 4 != 1)
            bytes += static_cast<char>(bits >> (6 - 2 * ((digits + 3) % 4)) & 0xFF);
    }
    const unsigned missing = (4 - digits % 4) % 4;
    if (missing == 3 || (padding && padding != missing))
        return std::nullopt;
    return bytes;
}

}  // namespace support
