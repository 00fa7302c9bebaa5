#pragma once

#include <string>
#include <string_view>

/// Texts from outside, made fit for places that hold one line, or that others may read.
namespace support {

/// With a blank for every control character and every other line break of Unicode (U+0000 to U+001F, U+007F
/// to U+009F, U+2028, U+2029).
std::string onOneLine(std::string text);

/// An address without user information, query and fragment, which may hold secrets.
std::string addressWithoutSecrets(std::string_view address);

}  // namespace support
