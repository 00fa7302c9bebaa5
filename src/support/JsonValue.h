#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

/// Reading JSON that comes from outside: nothing here throws, and no text is too deep, too large or
/// too odd to be refused in an orderly way.
namespace support {

/// Objects and lists nested deeper than this are not read.
constexpr int kMaxJsonDepth = 512;

/// The value of a JSON text (RFC 8259); none if it is not JSON, not UTF-8, or nested too deep.
std::optional<nlohmann::json> parseJson(std::string_view text);

/// The JSON text of a value, indented by two blanks a level.
std::string prettyJson(const nlohmann::json& value);

/// The member of an object, or null where there is none or `object` is not an object.
const nlohmann::json* jsonMember(const nlohmann::json& object, const char* key);

// What a value answers when it is asked for a kind that it may not have. Numbers and booleans answer
// all four (true is 1); strings answer the integer and the boolean query; nothing else answers any.

/// A number's decimal text.
std::optional<std::string> jsonStringQuery(const nlohmann::json& value);

/// A number without its fraction, or the integer that a string begins with (else 0); beyond 64 bits
/// the nearest 64-bit value.
std::optional<int64_t> jsonIntegerQuery(const nlohmann::json& value);

/// A number's integer as unsigned: a negative one wraps round.
std::optional<uint64_t> jsonUnsignedQuery(const nlohmann::json& value);

/// Not 0 for a number; for a string, whether it begins, after blanks, a sign and zeros, with Y, y, T, t
/// or a digit from 1 to 9.
std::optional<bool> jsonBoolQuery(const nlohmann::json& value);

/// A value kept as it was sent, as text: a string itself, any other value its JSON text; null is none.
std::optional<std::string> jsonAsSent(const nlohmann::json& value);

}  // namespace support
