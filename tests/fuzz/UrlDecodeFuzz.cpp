#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "DGAUpload/logic/webaccess/urlcode.h"

// The first byte is the limit. The buffers have exactly the room that is asked for.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    if (length < 1)
        return 0;
    const size_t limit = bytes[0];
    const std::string text(reinterpret_cast<const char*>(bytes) + 1, length - 1);
    const auto decoded = std::make_unique<char[]>(limit + 1);
    URLDecode(text.c_str(), decoded.get(), limit);
    if (std::strlen(decoded.get()) > limit)
        std::abort();
    const auto encoded = std::make_unique<char[]>(limit + 1);
    URLEncode(text.c_str(), encoded.get(), limit);

    // What was encoded whole is decoded again.
    const size_t size = 3 * std::strlen(text.c_str()) + 3;
    const auto whole = std::make_unique<char[]>(size + 1);
    URLEncode(text.c_str(), whole.get(), size);
    const auto again = std::make_unique<char[]>(size + 1);
    if (std::strcmp(URLDecode(whole.get(), again.get(), size), text.c_str()) != 0)
        std::abort();
    return 0;
}
