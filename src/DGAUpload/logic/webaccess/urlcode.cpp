#include "DGAUpload/logic/webaccess/urlcode.h"

#include <array>

// After the standard headers: it declares functions that some of them would otherwise bring.
#include <safe_mem_lib.h>
#include <safe_str_lib.h>

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

bool isLetterOrDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

unsigned valueOfDigit(char c) {
    if (c >= '0' && c <= '9')
        return static_cast<unsigned>(c - '0');
    if (c >= 'A' && c <= 'F')
        return static_cast<unsigned>(c - 'A' + 10);
    return static_cast<unsigned>(c - 'a' + 10);
}

}  // namespace

char* URLEncode(const char* source, char* destination, size_t size) {
    if (source == nullptr || destination == nullptr)
        return nullptr;
    const size_t most = size < 2 ? 0 : size - 2;
    size_t count = 0;
    for (; *source != '\0' && count < most; ++source) {
        if (isLetterOrDigit(*source)) {
            destination[count++] = *source;
            continue;
        }
        const auto byte = static_cast<unsigned char>(*source);
        const std::array<char, 3> escape{'%', kDigits[byte >> 4], kDigits[byte & 0xF]};
        if (memcpy_s(destination + count, size - count, escape.data(), escape.size()) != EOK)
            break;
        count += escape.size();
    }
    destination[count] = '\0';
    return destination;
}

char* URLDecode(const char* source, char* destination, size_t limit) {
    if (source == nullptr || destination == nullptr)
        return nullptr;
    size_t count = 0;
    for (; *source != '\0' && count < limit; ++source) {
        if (*source == '%' && strnlen_s(source, 3) == 3) {
            destination[count++] = static_cast<char>(valueOfDigit(source[1]) * 16 + valueOfDigit(source[2]));
            source += 2;
        } else {
            destination[count++] = *source == '+' ? ' ' : *source;
        }
    }
    destination[count] = '\0';
    return destination;
}
