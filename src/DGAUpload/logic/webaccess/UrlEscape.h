#pragma once

#include <string>
#include <string_view>

/// A URL's text as UTF-8: as it is when it is that already, else read as Mac Roman.
std::string urlTextFromBytes(std::string_view bytes);

/// Every percent escape replaced by its byte; a "%" that begins none stays. The result may hold any byte.
std::string removePercentEscapes(std::string_view text);

enum class PercentSign { escape, keep };

/// Escapes each byte that a URL may not hold (RFC 3986), and "#", which would cut the URL off. Square
/// brackets stay where they enclose the host's address.
std::string addPercentEscapes(std::string_view text, PercentSign percentSign);

/// Whether a text can be a URL as it stands: it begins with a scheme and holds only characters of RFC 3986
/// and whole escapes.
bool isUrlText(std::string_view text);
