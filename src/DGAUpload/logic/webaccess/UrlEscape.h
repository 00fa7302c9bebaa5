#pragma once

#include <string>
#include <string_view>

/// A URL's text as UTF-8: as it is when it is that already, else read as Mac Roman.
std::string urlTextFromBytes(std::string_view bytes);

/// Every percent escape replaced by its byte; a "%" that begins none stays. The result may hold any byte.
std::string removePercentEscapes(std::string_view text);

/// Whether a "%" that begins an escape stays as it is. One that begins none is escaped in any case.
enum class PercentSign { escape, keep };

/// Escapes each byte that a URL may not hold (RFC 3986), and "#", which would cut the URL off. Square
/// brackets stay where they enclose the host's address.
std::string addPercentEscapes(std::string_view text, PercentSign percentSign);

/// Whether a text can be a URL as it stands: a scheme that begins with a letter, and something after it, in
/// characters of RFC 3986 and whole escapes.
bool isUrlText(std::string_view text);
