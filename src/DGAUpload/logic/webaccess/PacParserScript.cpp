#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>

#include "DGAUpload/logic/webaccess/CFNetworkHTTPDownload.h"
#include "DGAUpload/logic/webaccess/PacInUse.h"
#include "DGAUpload/logic/webaccess/PacParser.h"
#include "DGAUpload/logic/webaccess/PacText.h"
#include "platform/RunLoop.h"
#include "platform/Text.h"
#include "support/ORVNLogger.h"

namespace {

constexpr char kFindProxyForURL[] = "FindProxyForURL";

std::string afterLastBlank(const std::string& text) {
    const size_t blank = text.rfind(' ');
    return blank == std::string::npos ? text : text.substr(blank + 1);
}

int32_t decimalValue(const std::string& text) {
    const long long value = std::strtoll(text.c_str(), nullptr, 10);
    using Limits = std::numeric_limits<int32_t>;
    return static_cast<int32_t>(std::clamp<long long>(value, Limits::min(), Limits::max()));
}

std::optional<PacProxy> proxyOfEntry(const std::string& entry) {
    const std::string_view text = platform::trimmed(entry);
    const auto kind =
        platform::kindOfPacEntry(text.substr(0, text.find(' '))).value_or(platform::ProxyKind::http);
    if (isIPv6Format(entry)) {
        const size_t begin = entry.find('[');
        const size_t end = entry.find("]:", begin);
        if (end != std::string::npos)
            return PacProxy{entry.substr(begin + 1, end - begin - 1), decimalValue(entry.substr(end + 2)),
                            kind};
    } else if (const auto pieces = divideStr(entry, ":"); pieces.size() == 2) {
        return PacProxy{afterLastBlank(pieces[0]), decimalValue(pieces[1]), kind};
    }
    logNotice("CPacParser::ParseProxy,error format!");
    return std::nullopt;
}

}  // namespace

std::vector<PacProxy> CPacParser::PageRoutes(const char* url) {
    const InUse use(this);
    logInfo("CPacParser::ScriptFindProxy Begin");
    const std::string text = ScriptFindProxyString(url);
    if (text.empty()) {
        logInfo("CPacParser::ScriptFindProxy End,call ScriptFindProxyString return value is nil!");
        return {};
    }
    logInfo("CPacParser::ScriptFindProxy,proxy is {}", text);
    auto proxies = ParseRoutes(text.c_str());
    logInfo("CPacParser::ScriptFindProxy End");
    return proxies;
}

std::string CPacParser::ScriptFindProxyString(const char* url) {
    const InUse use(this);
    logInfo("CPacParser::ScriptFindProxyString Begin");
    if (!m_pWebView || !url) {
        logNotice("CPacParser::ScriptFindProxyString, m_pWebView or param url is NULL");
        return {};
    }
    const std::string address = urlForScript(url);
    const size_t begin = schemeLength(address);
    const std::string host = address.substr(begin, address.find('/', begin) - begin);
    if (host.empty()) {
        logNotice("CPacParser::ScriptFindProxyString, host is nil!");
        return {};
    }
    if (!IsPacURLValid()) {
        logNotice("CPacParser::ScriptFindProxyString, pac content is nil or no FindProxyForURL api!");
        return {};
    }
    const char* const way = &platform::RunLoop::current() == &platform::RunLoop::main()
                                ? "MainThread callWebScriptMethod"
                                : "performSelectorOnMainThread";
    logInfo("CPacParser::ScriptFindProxyString {} Begin", way);
    std::string result;
    platform::performOnMainAndWait([&] {
        result = m_pWebView->callWebScriptMethod(kFindProxyForURL, {address, host});
    });
    logInfo("CPacParser::ScriptFindProxyString {} End", way);
    logInfo("CPacParser::ScriptFindProxyString End");
    return result;
}

std::string CPacParser::FindProxyString(const char* url) {
    const InUse use(this);
    logInfo("CPacParser::CocoaFindProxyString Begin");
    std::string text = CocoaFindProxyString(url);
    if (text.empty()) {
        logInfo(
            "CPacParser::CocoaFindProxyString - call CocoaFindProxyString return string size is 0,it "
            "maybe failed or proxy is nil, try ScriptFindProxyString.");
        text = ScriptFindProxyString(url);
    }
    logInfo("CPacParser::CocoaFindProxyString End");
    return text;
}

std::vector<PacProxy> CPacParser::ParseRoutes(const char* text) {
    if (!text || platform::lowerCase(text) == "direct") {
        logNotice("CPacParser::ParseProxy,proxy is nil or proxy direct!");
        return {};
    }
    std::vector<PacProxy> proxies;
    for (const auto& entry : divideStr(text, ";")) {
        // Only the bare word is no fault of form.
        const auto proxy = entry == "DIRECT" ? std::nullopt : proxyOfEntry(entry);
        if (!proxy && platform::lowerCase(platform::trimmed(entry)) == "direct")
            proxies.emplace_back();
        if (!proxy)
            continue;
        logInfo("CPacParser::ParseProxy,proxyAddress is {},porxyPort is {}!", proxy->host, proxy->port);
        proxies.push_back(*proxy);
    }
    return proxies;
}
