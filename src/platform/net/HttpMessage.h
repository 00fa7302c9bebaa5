#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/ProxySettings.h"

namespace platform {

/// The ways in which a proxy may want to know who asks; bits.
enum HttpAuth : uint8_t {
    kHttpAuthNone = 0,
    kHttpAuthBasic = 1,      ///< RFC 7617
    kHttpAuthDigest = 2,     ///< RFC 7616
    kHttpAuthNtlm = 4,       ///< MS-NLMP
    kHttpAuthNegotiate = 8,  ///< RFC 4559, with the ticket that the user has
};

struct HttpRequest {
    std::string method;  ///< "GET" or "POST"
    std::string url;     ///< http or https, percent-escaped
    std::vector<std::pair<std::string, std::string>> headers;
    std::shared_ptr<const std::string> body;  ///< shared, not copied; null for none

    /// Credentials for the first proxy that is used, and for no other: with CONNECT for https, with the
    /// request for http. Where there is no proxy they go nowhere. None when the user is empty, but for
    /// Negotiate. Basic is sent without waiting for a challenge.
    std::string proxyUser;
    std::string proxyPassword;
    HttpAuth proxyAuth = kHttpAuthBasic;

    /// On a connection of its own, so that it is never sent a second time by itself.
    bool onceOnly = false;

    std::chrono::milliseconds connectTime{0};  ///< until the connection stands; 0 for curl's own limit
};

struct HttpResponse {
    int status = 0;
    std::string url;    ///< of the request that was answered, which after a redirect is not the first one
    ProxyServer proxy;  ///< that was asked; not enabled where there was none
    unsigned proxyAuths = 0;  ///< with status 407: what the proxy offers of HttpAuth that can be done here
    long retryAfter = 0;      ///< seconds that the server asks to wait; 0 if it does not
};

}  // namespace platform
