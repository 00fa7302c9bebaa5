#include "platform/net/PacEvaluator.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/ProxyText.h"
#include "platform/RunLoop.h"
#include "platform/Text.h"
#include "platform/net/HostAddresses.h"
#include "platform/net/PacFunctions.h"
#include "platform/net/ScriptProcess.h"

namespace platform {
namespace {

using Proxy = PacEvaluator::Proxy;

constexpr char kFunction[] = "FindProxyForURL";
constexpr char kAllNames[] = "var namesLookedUp = 12;";
constexpr char kBlanks[] = " \t\r\n";

// Scripts compare addresses as dotted quads, so an IPv4 one comes first.
std::optional<std::string> resolve(const std::string& host) {
    const auto addresses = addressesOfHost(host);
    const auto quad = std::find_if(addresses.begin(), addresses.end(), [](const std::string& address) {
        return address.find(':') == std::string::npos;
    });
    if (quad != addresses.end())
        return *quad;
    return addresses.empty() ? std::nullopt : std::optional(addresses.front());
}

std::optional<std::string> ownAddress(const std::string& /*argument*/) {
    const auto addresses = addressesOfThisHost();
    return addresses.empty() ? "127.0.0.1" : addresses.front();
}

void readAddress(std::string_view text, Proxy& proxy) {
    size_t end = text.rfind(':');
    if (text.starts_with('[')) {
        end = text.find(']');
        if (end == std::string_view::npos)
            return;
        proxy.host = text.substr(1, end - 1);
        end = end + 1 < text.size() && text[end + 1] == ':' ? end + 1 : std::string_view::npos;
    } else {
        proxy.host = text.substr(0, end);
    }
    if (end != std::string_view::npos)
        proxy.port = portNumber(text.substr(end + 1));
    if (proxy.host->empty())
        proxy.host.reset();
}

std::optional<Proxy> parseEntry(std::string_view entry) {
    const auto blank = std::min(entry.find_first_of(kBlanks), entry.size());
    const std::string word(entry.substr(0, blank));
    const auto address = trimmed(entry.substr(blank));
    Proxy proxy;
    if (lowerCase(word) == "direct" && address.empty())
        return proxy;
    proxy.kind = kindOfPacEntry(word);
    if (!proxy.kind)
        return std::nullopt;
    readAddress(address, proxy);
    return proxy;
}

}  // namespace

std::string hostOfURL(const std::string& url) {
    std::string_view rest = url;
    if (const auto scheme = rest.find("://"); scheme != std::string_view::npos)
        rest.remove_prefix(scheme + 3);
    rest = rest.substr(0, rest.find_first_of("/?#"));
    if (const auto account = rest.rfind('@'); account != std::string_view::npos)
        rest.remove_prefix(account + 1);
    if (rest.starts_with('['))
        return lowerCase(rest.substr(1, rest.find(']') - 1));
    return lowerCase(rest.substr(0, rest.find(':')));
}

std::optional<ProxyKind> kindOfPacEntry(std::string_view word) {
    static const std::pair<const char*, ProxyKind> kinds[] = {
        {"proxy", ProxyKind::http},  {"http", ProxyKind::http},     {"https", ProxyKind::https},
        {"socks", ProxyKind::socks}, {"socks4", ProxyKind::socks4}, {"socks5", ProxyKind::socks5}};
    const std::string lower = lowerCase(word);
    for (const auto& [name, kind] : kinds) {
        if (lower == name)
            return kind;
    }
    return std::nullopt;
}

void defineAddressLists(ScriptProcess& process) {
    const auto joined = [](const std::vector<std::string>& addresses) {
        std::string text;
        for (const auto& address : addresses)
            text += (text.empty() ? "" : ";") + address;
        return text;
    };
    process.define("", "dnsResolveEx",
                   [joined](const std::string& host) { return joined(addressesOfHost(host)); });
    process.define("", "myIpAddressEx",
                   [joined](const std::string& /*argument*/) { return joined(addressesOfThisHost()); });
}

PacEvaluator::PacEvaluator() = default;
PacEvaluator::~PacEvaluator() = default;

std::vector<Proxy> PacEvaluator::parse(const std::string& answer) {
    std::vector<Proxy> proxies;
    std::string_view rest = answer;
    while (!rest.empty()) {
        const auto end = std::min(rest.find(';'), rest.size());
        const auto proxy = parseEntry(trimmed(rest.substr(0, end)));
        if (proxy)
            proxies.push_back(*proxy);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return proxies;
}

PacEvaluator::Result PacEvaluator::proxiesForURL(const std::string& script, const std::string& url) {
    Result result;
    performOnMainAndWait([&] {
        if (!process_ || script != script_) {
            process_ = std::make_shared<ScriptProcess>();
            script_ = script;
            process_->define("", "dnsResolve", &resolve);
            process_->define("", "myIpAddress", &ownAddress);
            defineAddressLists(*process_);
            process_->evaluate(kAllNames + std::string(kPacFunctions), nullptr);
            process_->evaluate(script, nullptr);
        }
        // Whoever is called while this waits may replace it.
        const auto process = process_;
        const auto answer = process->call(kFunction, {url, hostOfURL(url)});
        if (answer.failed)
            result.error = answer.text;
        else
            result.proxies = parse(answer.text);
    });
    return result;
}

}  // namespace platform
