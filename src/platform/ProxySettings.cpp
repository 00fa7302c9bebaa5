#include "platform/ProxySettings.h"

#include <fnmatch.h>
#include <gio/gio.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>

#include "platform/HomePath.h"
#include "platform/SmallFile.h"

namespace platform {
namespace {

constexpr size_t kLongestFile = size_t{256} * 1024;
constexpr char kSchema[] = "org.gnome.system.proxy";

struct Unref {
    void operator()(GSettings* settings) const { g_object_unref(settings); }
    void operator()(GSettingsSchema* schema) const { g_settings_schema_unref(schema); }
    void operator()(GInetAddressMask* mask) const { g_object_unref(mask); }
    void operator()(GInetAddress* address) const { g_object_unref(address); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return g_ascii_tolower(c); });
    return lower;
}

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

std::vector<std::string> split(std::string_view text, std::string_view separators) {
    std::vector<std::string> pieces;
    while (!text.empty()) {
        const auto end = std::min(text.find_first_of(separators), text.size());
        if (end > 0)
            pieces.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return pieces;
}

std::optional<int32_t> portNumber(std::string_view text) {
    int32_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && port > 0 && port <= 65535 ? std::optional(port) : std::nullopt;
}

struct HostPort {
    std::string_view host;
    std::string_view port;
};

// "host", "host:port", "host port", "[address]", "[address]:port" or a bare IPv6 address.
HostPort divideHost(std::string_view text) {
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

std::string scriptAddress(const std::string& text) {
    return text.starts_with('/') ? "file://" + text : text;
}

/// The keys of one schema that is installed; what it lacks reads as empty.
class DesktopSettings {
public:
    explicit DesktopSettings(const char* id) {
        GSettingsSchemaSource* source = g_settings_schema_source_get_default();
        if (source)
            schema_.reset(g_settings_schema_source_lookup(source, id, TRUE));
        if (schema_)
            settings_.reset(g_settings_new_full(schema_.get(), nullptr, nullptr));
    }

    std::string text(const char* key) const {
        const auto value = read(key, G_VARIANT_TYPE_STRING);
        return value ? g_variant_get_string(value.get(), nullptr) : "";
    }
    int32_t number(const char* key) const {
        const auto value = read(key, G_VARIANT_TYPE_INT32);
        return value ? g_variant_get_int32(value.get()) : 0;
    }
    std::vector<std::string> texts(const char* key) const {
        std::vector<std::string> found;
        const auto value = read(key, G_VARIANT_TYPE_STRING_ARRAY);
        for (gsize i = 0; value && i < g_variant_n_children(value.get()); ++i) {
            const Value child(g_variant_get_child_value(value.get(), i), &g_variant_unref);
            found.emplace_back(g_variant_get_string(child.get(), nullptr));
        }
        return found;
    }

private:
    using Value = std::unique_ptr<GVariant, decltype(&g_variant_unref)>;

    Value read(const char* key, const GVariantType* type) const {
        Value value(nullptr, &g_variant_unref);
        if (settings_ && g_settings_schema_has_key(schema_.get(), key))
            value.reset(g_settings_get_value(settings_.get(), key));
        // A key of another type belongs to a schema that we do not know.
        if (value && !g_variant_is_of_type(value.get(), type))
            value.reset();
        return value;
    }

    Owned<GSettingsSchema> schema_;
    Owned<GSettings> settings_;
};

// Kept, because a new object is announced to the settings service over the bus; a kept one reads no less
// afresh. The caller holds the lock. Never freed: a thread may read while the program ends.
const DesktopSettings& desktopSettings(const std::string& id) {
    static auto* const kept = new std::map<std::string, DesktopSettings>;
    return kept->try_emplace(id, id.c_str()).first->second;
}

ProxyServer desktopServer(const std::string& protocol) {
    const DesktopSettings& settings = desktopSettings(std::string(kSchema) + "." + protocol);
    ProxyServer server = parseProxyAddress(settings.text("host"));
    if (const int32_t port = settings.number("port"); port > 0 && server.enabled)
        server.port = port;
    return server;
}

std::optional<ProxySettings> fromDesktop() {
    static std::mutex mutex;
    const std::lock_guard<std::mutex> hold(mutex);
    const DesktopSettings& root = desktopSettings(kSchema);
    const std::string mode = root.text("mode");
    if (mode != "auto" && mode != "manual")
        return std::nullopt;
    ProxySettings settings;
    settings.exceptions = root.texts("ignore-hosts");
    if (mode == "auto") {
        settings.autoConfigEnabled = true;
        settings.autoConfigURL = scriptAddress(root.text("autoconfig-url"));
        return settings;
    }
    settings.http = desktopServer("http");
    settings.https = desktopServer("https");
    return settings;
}

std::string environment(std::string name) {
    const char* value = getenv(name.c_str());
    if (!value || !*value) {
        std::transform(name.begin(), name.end(), name.begin(), [](char c) { return g_ascii_toupper(c); });
        value = getenv(name.c_str());
    }
    return value ? value : "";
}

std::optional<ProxySettings> fromEnvironment() {
    ProxySettings settings;
    settings.http = parseProxyAddress(environment("http_proxy"));
    settings.https = parseProxyAddress(environment("https_proxy"));
    settings.autoConfigURL = scriptAddress(environment("auto_proxy"));
    settings.autoConfigEnabled = !settings.autoConfigURL.empty();
    settings.exceptions = split(environment("no_proxy"), ", \t");
    if (!settings.http.enabled && !settings.https.enabled && !settings.autoConfigEnabled)
        return std::nullopt;
    return settings;
}

// The keys of one group; marks such as "[$e]" behind a key are dropped.
std::map<std::string, std::string> readGroup(const std::string& text, std::string_view group) {
    std::map<std::string, std::string> values;
    bool inside = false;
    for (const auto& line : split(text, "\n")) {
        const auto content = trimmed(line);
        const auto equals = content.find('=');
        if (content.starts_with('['))
            inside = content.size() == group.size() + 2 && content.substr(1, group.size()) == group;
        else if (inside && equals != std::string_view::npos && !content.starts_with('#'))
            values[std::string(trimmed(content.substr(0, std::min(equals, content.find('[')))))] =
                trimmed(content.substr(equals + 1));
    }
    return values;
}

std::optional<ProxySettings> fromKde() {
    const char* folder = getenv("XDG_CONFIG_HOME");
    const auto text = readSmallFile(
        (folder && *folder ? std::string(folder) : expandTilde("~/.config")) + "/kioslaverc", kLongestFile);
    if (!text)
        return std::nullopt;
    auto values = readGroup(*text, "Proxy Settings");
    enum class Kind : uint8_t { none = '0', manual, script, discovery, environment };
    const std::string& type = values["ProxyType"];
    const auto kind = type.size() == 1 ? static_cast<Kind>(type[0]) : Kind::none;
    ProxySettings settings;
    settings.exceptions = split(values["NoProxyFor"], ", \t");
    settings.exceptionsReversed = values["ReversedException"] == "true";
    switch (kind) {
        case Kind::script:
        case Kind::discovery:
            settings.autoConfigEnabled = true;
            if (kind == Kind::script)
                settings.autoConfigURL = scriptAddress(values["Proxy Config Script"]);
            return settings;
        case Kind::manual:
            settings.http = parseProxyAddress(values["httpProxy"]);
            settings.https = parseProxyAddress(values["httpsProxy"]);
            return settings;
        case Kind::environment:
            // The file names the variables.
            settings.http = parseProxyAddress(environment(values["httpProxy"]));
            settings.https = parseProxyAddress(environment(values["httpsProxy"]));
            settings.exceptions = split(environment(values["NoProxyFor"]), ", \t");
            if (settings.http.enabled || settings.https.enabled)
                return settings;
            return std::nullopt;
        default:
            return std::nullopt;
    }
}

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

bool matchesNetwork(const Host& host, const std::string& pattern) {
    const Owned<GInetAddressMask> mask(g_inet_address_mask_new_from_string(pattern.c_str(), nullptr));
    return mask && host.address && g_inet_address_mask_matches(mask.get(), host.address.get());
}

bool matches(const Host& host, int32_t port, const std::string& entry) {
    std::string pattern = lowerCase(trimmed(entry));
    if (pattern.empty())
        return false;
    if (pattern == "<local>")
        return !host.address && host.name.find('.') == std::string::npos;
    if (pattern.find('/') != std::string::npos)
        return matchesNetwork(host, pattern);
    const auto parts = divideHost(pattern);
    if (!parts.port.empty() && portNumber(parts.port) != port)
        return false;
    pattern = parts.host;
    while (pattern.ends_with('.'))
        pattern.pop_back();
    const Owned<GInetAddress> address(g_inet_address_new_from_string(pattern.c_str()));
    if (address)
        return host.address && g_inet_address_equal(address.get(), host.address.get());
    if (pattern.starts_with("*."))
        pattern.erase(0, 1);
    if (pattern.find('*') != std::string::npos)
        return fnmatch(pattern.c_str(), host.name.c_str(), 0) == 0;
    if (pattern.starts_with('.'))
        pattern.erase(0, 1);
    return !host.address && !pattern.empty() && (host.name == pattern || host.name.ends_with("." + pattern));
}

}  // namespace

ProxyServer parseProxyAddress(std::string_view text) {
    text = trimmed(text);
    if (const auto scheme = text.find("://"); scheme != std::string_view::npos) {
        const std::string name = lowerCase(text.substr(0, scheme));
        if (name != "http" && name != "https")
            return {};
        text.remove_prefix(scheme + 3);
    }
    text = text.substr(0, text.find('/'));
    if (const auto account = text.rfind('@'); account != std::string_view::npos)
        text.remove_prefix(account + 1);
    const auto parts = divideHost(trimmed(text));
    if (parts.host.empty())
        return {};
    // KDE keeps "http://host" with the port behind a blank.
    return {true, std::string(parts.host), portNumber(parts.port).value_or(0)};
}

std::optional<ProxySettings> copySystemProxySettings() {
    if (auto settings = fromDesktop())
        return settings;
    if (auto settings = fromKde())
        return settings;
    return fromEnvironment();
}

bool isProxyException(const ProxySettings& settings, std::string_view host, int32_t port) {
    const Host asked = hostFrom(host);
    const bool found = std::any_of(settings.exceptions.begin(), settings.exceptions.end(),
                                   [&](const std::string& entry) { return matches(asked, port, entry); });
    return found != settings.exceptionsReversed;
}

}  // namespace platform
