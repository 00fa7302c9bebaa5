#include "support/JsonValue.h"

#include <fmt/format.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace support {
namespace {

using Json = nlohmann::json;

// Looked at before parsing: building, printing and comparing a value all take time or stack with its depth.
bool isTooDeep(std::string_view text) {
    int depth = 0;
    bool inString = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else
                inString = c != '"';
        } else if (c == '"') {
            inString = true;
        } else if (c == '{' || c == '[') {
            if (++depth > kMaxJsonDepth)
                return true;
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
    return false;
}

int64_t integerOf(double number) {
    constexpr double kEnd = 9223372036854775808.0;
    if (std::isnan(number))
        return 0;
    if (number >= kEnd)
        return std::numeric_limits<int64_t>::max();
    if (number < -kEnd)
        return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(number);
}

bool saysYes(const std::string& text) {
    size_t at = text.find_first_not_of(" \t\r\n");
    if (at != std::string::npos && (text[at] == '+' || text[at] == '-'))
        ++at;
    at = at == std::string::npos ? at : text.find_first_not_of('0', at);
    return at != std::string::npos &&
           std::string_view("YyTt123456789").find(text[at]) != std::string_view::npos;
}

}  // namespace

std::optional<Json> parseJson(std::string_view text) {
    if (isTooDeep(text))
        return std::nullopt;
    Json value = Json::parse(text, nullptr, false);
    if (value.is_discarded())
        return std::nullopt;
    return value;
}

std::string prettyJson(const Json& value) {
    return value.dump(2, ' ', false, Json::error_handler_t::replace);
}

const Json* jsonMember(const Json& object, const char* key) {
    if (!object.is_object())
        return nullptr;
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

std::optional<std::string> jsonStringQuery(const Json& value) {
    if (value.is_boolean())
        return value.get<bool>() ? "1" : "0";
    if (value.is_number_unsigned())
        return std::to_string(value.get<uint64_t>());
    if (value.is_number_integer())
        return std::to_string(value.get<int64_t>());
    if (value.is_number_float())
        return fmt::format("{}", value.get<double>());
    return std::nullopt;
}

std::optional<int64_t> jsonIntegerQuery(const Json& value) {
    if (value.is_boolean())
        return value.get<bool>() ? 1 : 0;
    if (value.is_number_unsigned()) {
        constexpr auto kMax = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
        return static_cast<int64_t>(std::min(value.get<uint64_t>(), kMax));
    }
    if (value.is_number_integer())
        return value.get<int64_t>();
    if (value.is_number_float())
        return integerOf(value.get<double>());
    if (value.is_string())
        return std::strtoll(value.get_ref<const std::string&>().c_str(), nullptr, 10);
    return std::nullopt;
}

std::optional<uint64_t> jsonUnsignedQuery(const Json& value) {
    if (value.is_number_unsigned())
        return value.get<uint64_t>();
    if (value.is_number() || value.is_boolean())
        return static_cast<uint64_t>(*jsonIntegerQuery(value));
    return std::nullopt;
}

std::optional<bool> jsonBoolQuery(const Json& value) {
    if (value.is_string())
        return saysYes(value.get_ref<const std::string&>());
    if (value.is_number_float())
        return value.get<double>() != 0.0;
    if (value.is_number() || value.is_boolean())
        return *jsonIntegerQuery(value) != 0;
    return std::nullopt;
}

std::optional<std::string> jsonAsSent(const Json& value) {
    if (value.is_null())
        return std::nullopt;
    if (value.is_string())
        return value.get<std::string>();
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace support
