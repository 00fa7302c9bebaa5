#pragma once

#include <string>
#include <string_view>

namespace platform {

bool isUtf8(std::string_view text);

/// The text in lower case, as far as ASCII goes.
std::string lowerCase(std::string_view text);

/// The text without the white space at its ends (blank, tab, line feed, vertical tab, form feed, carriage
/// return).
std::string_view trimmed(std::string_view text);

/// Whether a Perl-compatible regular expression, in which a dot also matches line breaks, matches
/// anywhere in a text. False for an expression that does not compile or a text that is not UTF-8.
bool matchesPattern(const std::string& text, const std::string& pattern);

/// The host of an absolute address (RFC 3986), without brackets; "" if it has none.
std::string hostOf(const std::string& address);

/// A random UUID (RFC 4122, version 4) in lower-case letters.
std::string randomUuid();

}  // namespace platform
