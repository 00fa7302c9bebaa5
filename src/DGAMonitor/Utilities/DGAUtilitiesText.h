#pragma once

#include <concepts>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

/// Helpers without state that many parts share. None reports an error: a failure gives the neutral value
/// that the function names. Any thread, except where a function says otherwise. Each layer adds its own in a
/// header DGAUtilities<subject>.h; these are for texts and identifiers.
namespace DGAUtilities {

/// Without the characters \ / : * ? " < > | and the full stop.
std::string dga_stringWithoutForbiddenSymbolFrom(std::string text);

/// The beginning of a UTF-8 text, of at most so many bytes and without a part of a character.
std::string beginningOf(const std::string& text, size_t mostBytes);

/// Whether a text has one of the two forms of a tracking id.
bool isValidTrackID(const std::optional<std::string>& trackID);

/// Whether a regular expression, whose dot also matches line breaks, matches anywhere in the text.
bool isMatchWithPattern(const std::optional<std::string>& text, const std::optional<std::string>& patterStr);

/// A new random UUID: 36 characters, upper-case.
std::string createUUID();

/// Base64 of the UTF-8 text, with CR LF after every 64 characters; "" for none.
std::string dga_stringToBase64Str(const std::optional<std::string>& text);
/// The same of any other value's pretty-printed JSON text.
std::string base64OfJson(const nlohmann::json& object);
template <std::same_as<nlohmann::json> Object>
std::string dga_stringToBase64Str(const Object& object) {
    return base64OfJson(object);
}

/// The text that base64 says, whatever else stands between its characters; none if it is not whole
/// or not UTF-8.
std::optional<std::string> dga_Base64StrToObj(const std::string& text);

/// With a line feed before the character at `index`, counted in characters; the text as it is if it
/// has no such position.
std::string dga_addLineBreakForStr(const std::string& text, size_t index);

}  // namespace DGAUtilities
