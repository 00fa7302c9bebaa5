#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

class ScriptProcess;

/// Evaluates proxy auto-configuration scripts, with a full set of helper functions, in a script process.
class PacEvaluator {
public:
    struct Proxy {
        enum class Type : uint8_t { none, http, https, socks };
        Type type = Type::none;
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

    /// The proxies that a script names for an address, in its order. Entries of a kind that is not known
    /// ("HTTPS" and rubbish) are left out. On the main thread, whose loop is served meanwhile; elsewhere it
    /// is done there while the caller waits.
    Result proxiesForURL(const std::string& script, const std::string& url);

    /// The entries of a script's answer for an address of the given kind.
    static std::vector<Proxy> parse(const std::string& answer, bool https);

private:
    std::string script_;
    std::shared_ptr<ScriptProcess> process_;
};

/// Host of an address ("scheme://account@host:port/path"), lower case, an IPv6 address without brackets.
std::string hostOfURL(const std::string& url);

}  // namespace platform
