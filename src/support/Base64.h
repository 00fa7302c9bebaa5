#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace support {

/// Base64 (RFC 4648, section 4, with padding), in lines of at most `lineLength` characters that are
/// separated, not ended, by CR LF; 0 gives one line.
std::string base64Encode(std::string_view bytes, size_t lineLength = 0);

/// Room in characters that the base64 of so many bytes needs.
int GetBase64EncodeSize(int length);

/// Writes the base64 of `length` bytes as one line, without a NUL, into a buffer with room for it, and
/// returns its length; below 1 if there is nothing to encode.
int Base64Encode(char* output, const unsigned char* input, int length);

/// Decodes, passing over characters outside the alphabet. None if what remains is not whole: a lone
/// last character, or padding that does not fit.
std::optional<std::string> base64Decode(std::string_view text);

}  // namespace support
