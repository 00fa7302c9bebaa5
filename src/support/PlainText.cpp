#include "support/PlainText.h"

#include <algorithm>

namespace support {
namespace {

unsigned byteAt(const std::string& text, size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
}

// The length in bytes of the control character or line break at a position; 0 for any other.
size_t breakAt(const std::string& text, size_t at) {
    const unsigned first = byteAt(text, at);
    const unsigned second = byteAt(text, at + 1);
    if (first < 0x20 || first == 0x7F)
        return 1;
    if (first == 0xC2 && second >= 0x80 && second <= 0x9F)
        return 2;
    const unsigned third = byteAt(text, at + 2);
    return first == 0xE2 && second == 0x80 && (third == 0xA8 || third == 0xA9) ? 3 : 0;
}

}  // namespace

std::string onOneLine(std::string text) {
    size_t end = 0;
    for (size_t at = 0; at < text.size();) {
        const size_t length = breakAt(text, at);
        text[end++] = length > 0 ? ' ' : text[at];
        at += std::max<size_t>(1, length);
    }
    text.resize(end);
    return text;
}

std::string addressWithoutSecrets(std::string_view address) {
    address = address.substr(0, address.find_first_of("?#"));
    const size_t scheme = address.find("//");
    const size_t host = scheme == std::string_view::npos ? 0 : scheme + 2;
    const size_t path = std::min(address.find_first_of("/\\", host), address.size());
    const size_t user = address.substr(0, path).rfind('@');
    if (user == std::string_view::npos || user < host)
        return std::string(address);
    return std::string(address.substr(0, host)) + std::string(address.substr(user + 1));
}

}  // namespace support
