#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ProxySettings.h"

namespace platform {

class ScriptProcess;

/// Evaluates proxy auto-configuration scripts, with a full set of helper functions, in a script process.
class PacEvaluator {
public:
    struct Proxy {
        std::optional<ProxyKind> kind;    ///< none: go directly
        std::optional<std::string> host;  ///< an IPv6 address without brackets
        std::optional<int32_t> port;
    };
    struct Result {
        std::optional<std::string> error;
        std::vector<Proxy> proxies;
    };

    PacEvaluator();
    ~PacEvaluator();
    PacEvaluator(const PacEvaluator&) = delete;
    PacEvaluator& operator=(const PacEvaluator&) = delete;

    /// The proxies that a script names for an address, in its order, without entries of a kind that is not
    /// known. On the main thread, whose loop is served meanwhile; elsewhere it
    /// is done there while the caller waits.
    Result proxiesForURL(const std::string& script, const std::string& url);

    /// The entries of a script's answer: DIRECT, PROXY or HTTP, HTTPS, SOCKS, SOCKS4 and SOCKS5, in any case.
    static std::vector<Proxy> parse(const std::string& answer);

private:
    std::string script_;
    std::shared_ptr<ScriptProcess> process_;
};

/// The kind of proxy that the first word of an entry names; none for DIRECT and words that are not known.
std::optional<ProxyKind> kindOfPacEntry(std::string_view word);

/// Gives scripts `dnsResolveEx` and `myIpAddressEx`: all addresses of a host or of this machine, divided by
/// semicolons, "" where there are none.
void defineAddressLists(ScriptProcess& process);

/// Host of an address ("scheme://account@host:port/path"), lower case, an IPv6 address without brackets.
std::string hostOfURL(const std::string& url);

}  // namespace platform
