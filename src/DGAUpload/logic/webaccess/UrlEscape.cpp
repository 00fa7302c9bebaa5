#include "DGAUpload/logic/webaccess/UrlEscape.h"

#include <array>
#include <cctype>
#include <cstdint>

#include "platform/Text.h"

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";
constexpr std::string_view kMarks = "-._~!$&'()*+,;=:@/?";

// The characters of the bytes 0x80 to 0xFF (the table of the Unicode consortium, APPLE/ROMAN.TXT).
// clang-format off
constexpr std::array<uint16_t, 128> kMacRoman = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1,
    0x00E0, 0x00E2, 0x00E4, 0x00E3, 0x00E5, 0x00E7, 0x00E9, 0x00E8,
    0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3,
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC,
    0x2020, 0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6, 0x00DF,
    0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8,
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211,
    0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8,
    0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB,
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153,
    0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA,
    0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1,
    0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC, 0x00D3, 0x00D4,
    0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC,
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,
};
// clang-format on

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    const int lower = c | 0x20;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool isEscape(std::string_view text, size_t at) {
    return text[at] == '%' && at + 2 < text.size() && hexValue(text[at + 1]) >= 0 &&
           hexValue(text[at + 2]) >= 0;
}

bool isAsciiLetterOrDigit(char c) {
    const int lower = c | 0x20;
    return (c >= '0' && c <= '9') || (lower >= 'a' && lower <= 'z');
}

bool isLegal(char c) {
    return isAsciiLetterOrDigit(c) || kMarks.find(c) != std::string_view::npos;
}

void appendUtf8(std::string& text, uint16_t character) {
    if (character < 0x800) {
        text += static_cast<char>(0xC0 | (character >> 6));
    } else {
        text += static_cast<char>(0xE0 | (character >> 12));
        text += static_cast<char>(0x80 | ((character >> 6) & 0x3F));
    }
    text += static_cast<char>(0x80 | (character & 0x3F));
}

struct Range {
    size_t begin = 0;
    size_t end = 0;
    bool contains(size_t at) const { return at >= begin && at < end; }
};

// "host:port" with what stands before it up to "//".
Range authorityOf(std::string_view text) {
    const size_t slashes = text.find("://");
    if (slashes == std::string_view::npos)
        return {};
    const size_t begin = slashes + 3;
    const size_t end = text.find_first_of("/?#", begin);
    return {begin, end == std::string_view::npos ? text.size() : end};
}

}  // namespace

std::string urlTextFromBytes(std::string_view bytes) {
    if (platform::isUtf8(bytes))
        return std::string(bytes);
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            text += c;
        else
            appendUtf8(text, kMacRoman[byte - 0x80U]);
    }
    return text;
}

std::string removePercentEscapes(std::string_view text) {
    std::string plain;
    for (size_t at = 0; at < text.size(); ++at) {
        if (isEscape(text, at)) {
            plain += static_cast<char>(16 * hexValue(text[at + 1]) + hexValue(text[at + 2]));
            at += 2;
        } else {
            plain += text[at];
        }
    }
    return plain;
}

std::string addPercentEscapes(std::string_view text, PercentSign percentSign) {
    const Range authority = authorityOf(text);
    std::string escaped;
    for (size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        const bool isBracket = (c == '[' || c == ']') && authority.contains(at);
        if (isLegal(c) || isBracket || (percentSign == PercentSign::keep && isEscape(text, at))) {
            escaped += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            escaped += '%';
            escaped += kHexDigits[byte >> 4];
            escaped += kHexDigits[byte & 0xF];
        }
    }
    return escaped;
}

bool isUrlText(std::string_view text) {
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || colon + 1 == text.size() ||
        !std::isalpha(static_cast<unsigned char>(text[0])) || text.find_first_of("/?#[]@") < colon)
        return false;
    for (size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (!isLegal(c) && c != '#' && c != '[' && c != ']' && !isEscape(text, at))
            return false;
    }
    return true;
}
