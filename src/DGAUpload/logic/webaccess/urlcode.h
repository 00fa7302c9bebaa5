#pragma once

#include <cstddef>

/// Percent encoding (RFC 3986, section 2.1) of the upload server's query texts: everything but ASCII letters
/// and digits becomes "%" and two upper-case digits. Ends early, before a byte of the source, once the output
/// has `size` - 2 bytes or more. Up to `size` bytes and a NUL are written: `destination` has room for
/// `size` + 1. Returns `destination`; null if one of the two texts is null.
char* URLEncode(const char* source, char* destination, size_t size);

/// The reverse, where "+" is a blank; a "%" at the very end that two digits do not follow stays. Ends early
/// once the output has `limit` bytes; a NUL follows it: `destination` has room for `limit` + 1. Returns
/// `destination`; null if one of the two texts is null.
char* URLDecode(const char* source, char* destination, size_t limit);
