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

    /// Hosts that are reached directly, as the desktop writes them: a name, a domain (".example.com",
    /// "*.example.com"), an address or a network ("10.0.0.0/8"), each perhaps with ":port".
    std::vector<std::string> exceptions;
};

/// Reads the settings afresh: GSettings' org.gnome.system.proxy where its schema is installed and its mode is
/// not "none", else KDE's kioslaverc, else the environment (http_proxy, https_proxy, no_proxy, auto_proxy, in
/// either case). None when nothing is set. Any thread.
std::optional<ProxySettings> copySystemProxySettings();

/// Whether a host is to be reached directly. Any thread.
bool isProxyException(const ProxySettings& settings, std::string_view host, int32_t port);

}  // namespace platform
