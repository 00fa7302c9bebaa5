#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// One protocol's proxy as the desktop's settings give it.
struct ProxyServer {
    bool enabled = false;
    std::string host;  ///< "" if not set; an IPv6 address without brackets
    int32_t port = 0;  ///< 0 if not set
};

/// The proxy settings of the desktop.
struct ProxySettings {
    ProxyServer http;
    ProxyServer https;
    bool autoConfigEnabled = false;
    std::string autoConfigURL;  ///< address of the auto-configuration script; "" if not set

    /// Hosts that are reached directly, as the desktop writes them: a name or a domain ("example.com",
    /// ".example.com", "*.example.com": each means the name and all below it), a pattern with "*", an
    /// address, a network ("10.0.0.0/8"), each perhaps with ":port", or "<local>" for names without a dot.
    std::vector<std::string> exceptions;
    bool exceptionsReversed = false;  ///< only the hosts in `exceptions` use the proxy (KDE)
};

/// Reads the settings afresh: GSettings' org.gnome.system.proxy where its schema is installed and its mode is
/// not "none", else KDE's kioslaverc, else the environment (http_proxy, https_proxy, no_proxy, auto_proxy, in
/// either case). None when nothing is set. User names and passwords in addresses are dropped. Any thread;
/// what the keyfile backend of GSettings has read is refreshed by the loop of the thread that called first.
std::optional<ProxySettings> copySystemProxySettings();

/// Whether a host is to be reached directly. An IPv6 address may stand in brackets. Any thread.
bool isProxyException(const ProxySettings& settings, std::string_view host, int32_t port);

/// The proxy that an address or a "host port" pair names; not enabled if it names none that speaks HTTP.
ProxyServer parseProxyAddress(std::string_view text);

}  // namespace platform
