#include "platform/Text.h"

#include <glib.h>

#include <algorithm>

namespace platform {

bool isUtf8(std::string_view text) {
    return g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE;
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return g_ascii_tolower(c); });
    return lower;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
    const auto first = text.find_first_not_of(kWhiteSpace);
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

bool matchesPattern(const std::string& text, const std::string& pattern) {
    if (!isUtf8(text))
        return false;
    GRegex* regex = g_regex_new(pattern.c_str(), G_REGEX_DOTALL, GRegexMatchFlags{}, nullptr);
    if (!regex)
        return false;
    const bool matches = g_regex_match_full(regex, text.data(), static_cast<gssize>(text.size()), 0,
                                            GRegexMatchFlags{}, nullptr, nullptr) != FALSE;
    g_regex_unref(regex);
    return matches;
}

std::string hostOf(const std::string& address) {
    GUri* const uri = g_uri_parse(address.c_str(), G_URI_FLAGS_PARSE_RELAXED, nullptr);
    const char* const host = uri ? g_uri_get_host(uri) : nullptr;
    std::string text = host ? host : "";
    if (uri)
        g_uri_unref(uri);
    return text;
}

std::string randomUuid() {
    char* uuid = g_uuid_string_random();
    std::string text = uuid;
    g_free(uuid);
    return text;
}

}  // namespace platform
