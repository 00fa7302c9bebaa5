#include <fnmatch.h>
#include <gio/gio.h>

#include <algorithm>
#include <charconv>
#include <memory>

#include "platform/ProxySettings.h"
#include "platform/ProxyText.h"
#include "platform/Text.h"

namespace platform {
namespace {

struct Unref {
    void operator()(GInetAddress* address) const { g_object_unref(address); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

struct Host {
    std::string name;  // lower case, no brackets, no dot at the end
    Owned<GInetAddress> address;
};

Host hostFrom(std::string_view text) {
    if (text.starts_with('[') && text.ends_with(']'))
        text = text.substr(1, text.size() - 2);
    while (text.ends_with('.'))
        text.remove_suffix(1);
    Host host{lowerCase(text), nullptr};
    host.address.reset(g_inet_address_new_from_string(host.name.c_str()));
    return host;
}

// "255.255.0.0" is 16. Not found: a number that is too large, or a mask with holes.
std::optional<unsigned> prefixLength(const std::string& text, unsigned most) {
    unsigned length = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    if (error == std::errc() && end == text.data() + text.size())
        return length <= most ? std::optional(length) : std::nullopt;
    const Owned<GInetAddress> mask(g_inet_address_new_from_string(text.c_str()));
    if (!mask || g_inet_address_get_native_size(mask.get()) * 8 != most)
        return std::nullopt;
    const guint8* const bytes = g_inet_address_to_bytes(mask.get());
    const auto bit = [bytes](unsigned i) { return (bytes[i / 8] >> (7 - i % 8) & 1) != 0; };
    for (length = 0; length < most && bit(length); ++length) {
    }
    for (unsigned i = length; i < most; ++i) {
        if (bit(i))
            return std::nullopt;
    }
    return length;
}

bool matchesNetwork(const Host& host, const std::string& pattern) {
    const size_t slash = pattern.find('/');
    const Host network = hostFrom(pattern.substr(0, slash));
    if (!host.address || !network.address)
        return false;
    const size_t size = g_inet_address_get_native_size(host.address.get());
    if (size != g_inet_address_get_native_size(network.address.get()))
        return false;
    const auto length = prefixLength(pattern.substr(slash + 1), static_cast<unsigned>(8 * size));
    if (!length)
        return false;
    const guint8* const a = g_inet_address_to_bytes(host.address.get());
    const guint8* const b = g_inet_address_to_bytes(network.address.get());
    const size_t whole = *length / 8;
    const unsigned rest = *length % 8;
    return std::equal(a, a + whole, b) && (rest == 0 || (a[whole] ^ b[whole]) >> (8 - rest) == 0);
}

// "127." or "192.168.": the beginning of an address.
bool isBeginningOfAddress(const std::string& pattern) {
    return pattern.ends_with('.') && pattern.find_first_not_of("0123456789.") == std::string::npos &&
           std::count(pattern.begin(), pattern.end(), '.') < 4;
}

bool matches(const Host& host, int32_t port, const std::string& entry) {
    std::string pattern = lowerCase(trimmed(entry));
    if (pattern.empty())
        return false;
    if (pattern == "<local>")
        return !host.address && host.name.find('.') == std::string::npos;
    if (pattern.find('/') != std::string::npos)
        return matchesNetwork(host, pattern);
    if (isBeginningOfAddress(pattern))
        return host.address && host.name.starts_with(pattern);
    const auto parts = divideHostAndPort(pattern);
    if (!parts.port.empty() && portNumber(parts.port) != port)
        return false;
    pattern = parts.host;
    while (pattern.ends_with('.'))
        pattern.pop_back();
    const Owned<GInetAddress> address(g_inet_address_new_from_string(pattern.c_str()));
    if (address)
        return host.address && g_inet_address_equal(address.get(), host.address.get());
    if (pattern.starts_with("*.") && pattern.find_first_of("*?", 1) == std::string::npos)
        pattern.erase(0, 1);
    if (pattern.find_first_of("*?") != std::string::npos)
        return fnmatch(pattern.c_str(), host.name.c_str(), 0) == 0;
    if (pattern.starts_with('.'))
        pattern.erase(0, 1);
    return !host.address && !pattern.empty() && (host.name == pattern || host.name.ends_with("." + pattern));
}

}  // namespace

std::optional<int32_t> portNumber(std::string_view text) {
    int32_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && port > 0 && port <= 65535 ? std::optional(port) : std::nullopt;
}

HostAndPort divideHostAndPort(std::string_view text) {
    if (text.starts_with('[')) {
        const auto end = text.find(']');
        if (end == std::string_view::npos)
            return {};
        const auto rest = text.substr(end + 1);
        return {text.substr(1, end - 1), rest.empty() ? rest : rest.substr(1)};
    }
    const auto separator = text.find_first_of(": \t");
    if (separator == std::string_view::npos)
        return {text, {}};
    if (text[separator] == ':' && text.find(':', separator + 1) != std::string_view::npos)
        return {text, {}};
    return {text.substr(0, separator), trimmed(text.substr(separator + 1))};
}

bool isProxyException(const ProxySettings& settings, std::string_view host, int32_t port) {
    const Host asked = hostFrom(host);
    const bool found = std::any_of(settings.exceptions.begin(), settings.exceptions.end(),
                                   [&](const std::string& entry) { return matches(asked, port, entry); });
    return found != settings.exceptionsReversed;
}

}  // namespace platform
