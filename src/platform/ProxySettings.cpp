#include "platform/ProxySettings.h"

#include <gio/gio.h>

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>

#include "platform/HomePath.h"
#include "platform/ProxyText.h"
#include "platform/SmallFile.h"
#include "platform/Text.h"

namespace platform {
namespace {

constexpr size_t kLongestFile = size_t{256} * 1024;
constexpr char kSchema[] = "org.gnome.system.proxy";

struct Unref {
    void operator()(GSettings* settings) const { g_object_unref(settings); }
    void operator()(GSettingsSchema* schema) const { g_settings_schema_unref(schema); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

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
    bool flag(const char* key) const {
        const auto value = read(key, G_VARIANT_TYPE_BOOLEAN);
        return value && g_variant_get_boolean(value.get());
    }
    /// Whether the user has set it, to whatever value.
    bool isUsers(const char* key) const {
        const Value value(settings_ && g_settings_schema_has_key(schema_.get(), key)
                              ? g_settings_get_user_value(settings_.get(), key)
                              : nullptr,
                          &g_variant_unref);
        return value != nullptr;
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
    if (protocol == "http" && settings.flag("use-authentication")) {
        server.user = settings.text("authentication-user");
        server.password = settings.text("authentication-password");
    }
    return server;
}

// As the schema's own descriptions have it.
void completeFromDesktop(ProxySettings& settings) {
    if (!settings.https.enabled)
        settings.https = settings.http;
    else if (settings.https.user.empty() && settings.https.host == settings.http.host &&
             settings.https.port == settings.http.port) {
        settings.https.user = settings.http.user;
        settings.https.password = settings.http.password;
    }
}

void serveWhatIsLeft(ProxySettings& settings, const ProxyServer& server) {
    for (ProxyServer* const left : {&settings.http, &settings.https}) {
        if (!left->enabled)
            *left = server;
    }
}

ProxyServer socksServer(ProxyServer server) {
    // The field says what it is, a scheme need not.
    if (server.kind == ProxyKind::http || server.kind == ProxyKind::https)
        server.kind = ProxyKind::socks;
    return server;
}

// Whether the user's own desktop is one of these; the names are separated by colons.
bool isDesktop(std::initializer_list<std::string_view> names) {
    const char* current = getenv("XDG_CURRENT_DESKTOP");
    for (const auto& name : split(current ? current : "", ":")) {
        if (std::find(names.begin(), names.end(), lowerCase(name)) != names.end())
            return true;
    }
    return false;
}

/// What one place says: nothing, no proxy, or these.
struct Said {
    bool anything = false;
    std::optional<ProxySettings> settings;
};

Said fromDesktop() {
    static std::mutex mutex;
    const std::lock_guard<std::mutex> hold(mutex);
    const DesktopSettings& root = desktopSettings(kSchema);
    const std::string mode = root.text("mode");
    if (mode != "auto" && mode != "manual")
        return {root.isUsers("mode") && isDesktop({"gnome", "unity", "x-cinnamon", "budgie", "mate"}), {}};
    ProxySettings settings;
    settings.exceptions = root.texts("ignore-hosts");
    if (mode == "auto") {
        settings.autoConfigEnabled = true;
        settings.autoConfigURL = scriptAddress(root.text("autoconfig-url"));
        return {true, settings};
    }
    settings.http = desktopServer("http");
    settings.https = desktopServer("https");
    completeFromDesktop(settings);
    serveWhatIsLeft(settings, socksServer(desktopServer("socks")));
    return {true, settings};
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
    serveWhatIsLeft(settings, parseProxyAddress(environment("all_proxy")));
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

// The user's file over the system's.
std::map<std::string, std::string> kdesValues() {
    const auto folderOr = [](const char* name, const std::string& otherwise) {
        const char* value = getenv(name);
        return value && *value ? std::string(value) : otherwise;
    };
    auto folders = split(folderOr("XDG_CONFIG_DIRS", "/etc/xdg"), ":");
    folders.insert(folders.begin(), folderOr("XDG_CONFIG_HOME", expandTilde("~/.config")));
    std::map<std::string, std::string> values;
    for (const auto& folder : folders) {
        if (const auto text = readSmallFile(folder + "/kioslaverc", kLongestFile))
            values.merge(readGroup(*text, "Proxy Settings"));
    }
    return values;
}

Said fromKde() {
    auto values = kdesValues();
    enum class Kind : uint8_t { none = '0', manual, script, discovery, environment };
    const std::string& type = values["ProxyType"];
    const auto kind = type.size() == 1 ? static_cast<Kind>(type[0]) : Kind::none;
    ProxySettings settings;
    settings.exceptions = split(values["NoProxyFor"], ", \t");
    settings.exceptionsReversed = values["ReversedException"] == "true";
    // With the last kind the file names the variables.
    const auto named = [&](const char* key) {
        return parseProxyAddress(kind == Kind::environment ? environment(values[key]) : values[key]);
    };
    switch (kind) {
        case Kind::script:
        case Kind::discovery:
            settings.autoConfigEnabled = true;
            if (kind == Kind::script)
                settings.autoConfigURL = scriptAddress(values["Proxy Config Script"]);
            return {true, settings};
        case Kind::environment:
            settings.exceptions = split(environment(values["NoProxyFor"]), ", \t");
            [[fallthrough]];
        case Kind::manual:
            settings.http = named("httpProxy");
            settings.https = named("httpsProxy");
            serveWhatIsLeft(settings, socksServer(named("socksProxy")));
            if (kind == Kind::manual || settings.http.enabled || settings.https.enabled)
                return {true, settings};
            break;
        default:
            break;
    }
    return {type.size() == 1 && kind == Kind::none, {}};
}

std::string unescaped(std::string_view text) {
    char* const plain = g_uri_unescape_segment(text.data(), text.data() + text.size(), nullptr);
    std::string copy = plain ? std::string(plain) : std::string(text);
    g_free(plain);
    return copy;
}

std::optional<ProxyKind> kindOfScheme(const std::string& scheme) {
    static const std::map<std::string, ProxyKind> kinds{
        {"http", ProxyKind::http},     {"https", ProxyKind::https},    {"socks", ProxyKind::socks},
        {"socks4", ProxyKind::socks4}, {"socks4a", ProxyKind::socks4}, {"socks5", ProxyKind::socks5},
        {"socks5h", ProxyKind::socks5}};
    const auto found = kinds.find(scheme);
    return found == kinds.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace

ProxyServer parseProxyAddress(std::string_view text) {
    ProxyServer server;
    text = trimmed(text);
    if (const auto scheme = text.find("://"); scheme != std::string_view::npos) {
        const auto kind = kindOfScheme(lowerCase(text.substr(0, scheme)));
        if (!kind)
            return {};
        server.kind = *kind;
        text.remove_prefix(scheme + 3);
    }
    if (const auto account = text.rfind('@'); account != std::string_view::npos) {
        const auto login = text.substr(0, account);
        const auto colon = std::min(login.find(':'), login.size());
        server.user = unescaped(login.substr(0, colon));
        server.password = unescaped(login.substr(std::min(colon + 1, login.size())));
        text.remove_prefix(account + 1);
    }
    const auto parts = divideHostAndPort(trimmed(text.substr(0, text.find('/'))));
    if (parts.host.empty())
        return {};
    server.enabled = true;
    server.host = parts.host;
    // KDE keeps "http://host" with the port behind a blank.
    server.port = portNumber(parts.port).value_or(0);
    return server;
}

std::optional<ProxySettings> copySystemProxySettings() {
    const bool isKde = isDesktop({"kde"});
    Said kde;
    if (isKde)
        kde = fromKde();
    if (kde.anything)
        return kde.settings;
    if (const Said desktop = fromDesktop(); desktop.anything)
        return desktop.settings;
    if (!isKde)
        kde = fromKde();
    return kde.settings ? kde.settings : fromEnvironment();
}

}  // namespace platform
