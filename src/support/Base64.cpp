#include "support/Base64.h"

#include <endian.h>
#ifdef __x86_64__
#include <tmmintrin.h>
#endif

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

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

/// The two characters for every 12 bits.
constexpr std::array<std::array<char, 2>, 4096> pairsOfAlphabet() {
    std::array<std::array<char, 2>, 4096> pairs{};
    for (size_t i = 0; i < pairs.size(); ++i)
        pairs[i] = {kAlphabet[i >> 6], kAlphabet[i & 0x3F]};
    return pairs;
}

#ifdef __x86_64__
// Twelve bytes at a time while sixteen can be read; returns how many it took. Each group of three bytes is
// spread over four, the 6 bits of each character are moved to their place by multiplications, and become
// characters by what has to be added in their range of the alphabet.
[[gnu::target("ssse3")]] int encodeTwelveByTwelve(char* output, const unsigned char* input, int length) {
    const __m128i spread = _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
    const __m128i added =
        _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                      '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
    int done = 0;
    for (; length - done >= 16; done += 12, output += 16) {
        const __m128i bytes =
            _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(input + done)), spread);
        const __m128i oddDigits =
            _mm_mulhi_epu16(_mm_and_si128(bytes, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
        const __m128i evenDigits =
            _mm_mullo_epi16(_mm_and_si128(bytes, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
        const __m128i digits = _mm_or_si128(oddDigits, evenDigits);
        // 0 for small letters, 1 to 10 for figures, 11 and 12 for the last two, 13 for capital letters.
        const __m128i isCapital = _mm_and_si128(_mm_cmpgt_epi8(_mm_set1_epi8(26), digits), _mm_set1_epi8(13));
        const __m128i range = _mm_or_si128(_mm_subs_epu8(digits, _mm_set1_epi8(51)), isCapital);
        const __m128i characters = _mm_add_epi8(digits, _mm_shuffle_epi8(added, range));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(output), characters);
    }
    return done;
}
#endif

}  // namespace

int GetBase64EncodeSize(int length) {
    return length / 3 * 4 + (length % 3 != 0 ? 4 : 0);
}

int Base64Encode(char* output, const unsigned char* input, int length) {
    static constexpr auto kPairs = pairsOfAlphabet();
    if (output == nullptr || input == nullptr || length < 1)
        return 0;
    const unsigned char* const end = input + length - length % 3;
#ifdef __x86_64__
    if (__builtin_cpu_supports("ssse3")) {
        const int done = encodeTwelveByTwelve(output, input, length);
        input += done;
        output += GetBase64EncodeSize(done);
    }
#endif
    // Six bytes at a time while eight can be read: twice as fast as three by three.
    for (; end - input >= 8; input += 6, output += 8) {
        uint64_t bytes = 0;
        std::memcpy(&bytes, input, sizeof bytes);
        bytes = be64toh(bytes);
        for (unsigned i = 0; i < 4; ++i)
            std::memcpy(output + size_t{2} * i, kPairs[bytes >> (52 - 12 * i) & 0xFFF].data(), 2);
    }
    for (; input != end; input += 3, output += 4) {
        const auto& first = kPairs[static_cast<unsigned>(input[0]) << 4 | input[1] >> 4];
        const auto& second = kPairs[(input[1] & 0xFU) << 8 | input[2]];
        output[0] = first[0];
        output[1] = first[1];
        output[2] = second[0];
        output[3] = second[1];
    }
    const std::string last =
        base64Encode({reinterpret_cast<const char*>(end), static_cast<size_t>(length % 3)});
    std::copy(last.begin(), last.end(), output);
    return GetBase64EncodeSize(length);
}

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
