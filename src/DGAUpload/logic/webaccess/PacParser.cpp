#include "DGAUpload/logic/webaccess/PacParser.h"

#include <algorithm>
#include <optional>

#include "DGAUpload/logic/webaccess/PacDownload.h"
#include "DGAUpload/logic/webaccess/PacText.h"
#include "DGAUpload/logic/webaccess/UrlEscape.h"
#include "platform/ProxySettings.h"
#include "platform/RunLoop.h"
#include "platform/SmallFile.h"
#include "platform/Text.h"
#include "platform/net/NetworkChanges.h"
#include "platform/net/ScriptProcess.h"
#include "support/ORVNLogger.h"

using platform::PacEvaluator;

namespace {

constexpr size_t kLongestScript = platform::ScriptProcess::kLongestScript;
// A page is waited for so many times so long, a tenth of a second in all.
constexpr int kPageSteps = 20;
constexpr std::chrono::milliseconds kPageStep{5};

bool hasScript(const std::optional<platform::ProxySettings>& settings) {
    return settings && settings->autoConfigEnabled && !settings->autoConfigURL.empty();
}

/// The text of an address as the platform's URL services take it; none if it is no address even without its
/// path.
std::optional<std::string> preparedURL(const char* text, const std::string& method, bool logsBase) {
    const std::string lower = platform::lowerCase(text);
    std::string url = text;
    if (!lower.starts_with("https://") && !lower.starts_with("http"))
        url = "https://" + url;
    if (isUrlText(url))
        return url;
    logWarning("{},generate NSURL failed,we try use base url do it!", method);
    const size_t slash = url.find('/', std::max(schemeLength(url), size_t{1}));
    if (slash == std::string::npos) {
        logWarning("{},can not find slash mark in url string!", method);
        return std::nullopt;
    }
    url.resize(slash);
    if (logsBase)
        logInfo("{},base url = {}", method, url);
    if (isUrlText(url))
        return url;
    logWarning("{},can not use base url string to generate NSURL.", method);
    return std::nullopt;
}

// The settings' script for an address; "" if the address is one that is reached directly.
std::string autoConfigurationURL(const platform::ProxySettings& settings, const std::string& url) {
    if (!settings.autoConfigEnabled || platform::isProxyException(settings, platform::hostOfURL(url), 0))
        return {};
    return settings.autoConfigURL;
}

PacProxy asPacProxy(const PacEvaluator::Proxy& proxy) {
    std::string host = *proxy.host;
    const size_t blank = host.rfind(' ');
    if (blank != std::string::npos && blank + 2 < host.size())
        host.erase(0, blank + 1);
    return {host, *proxy.port, *proxy.kind};
}

std::string asPacText(const PacEvaluator::Proxy& proxy) {
    static const char* const words[] = {"PROXY", "HTTPS", "SOCKS", "SOCKS4", "SOCKS5"};
    if (!proxy.kind)
        return "DIRECT";
    const std::string word = words[static_cast<size_t>(*proxy.kind)];
    return proxy.host && proxy.port ? fmt::format("{} {}:{}", word, *proxy.host, *proxy.port) : word;
}

std::vector<PacProxy> withoutDirect(std::vector<PacProxy> routes) {
    std::erase_if(routes, [](const PacProxy& route) { return route.host.empty(); });
    return routes;
}

}  // namespace

std::atomic<CPacParser*> CPacParser::m_sGlobalParser{nullptr};

CPacParser::InUse::InUse(CPacParser* parser) : parser_(parser) {
    ++parser_->m_nInUse;
}

CPacParser::InUse::~InUse() {
    if (--parser_->m_nInUse == 0 && parser_->m_bCleanedUp)
        platform::performOnMainAndWait([this] { delete parser_; });
}

CPacParser::~CPacParser() {
    // It would answer to nobody.
    delete m_pDownload;
}

CPacParser* CPacParser::sharedInstance() {
    if (CPacParser* const parser = m_sGlobalParser)
        return parser;
    auto* const parser = new CPacParser;
    m_sGlobalParser = parser;
    {
        const InUse use(parser);
        parser->load();
    }
    return m_sGlobalParser == parser ? parser : sharedInstance();
}

void CPacParser::CleanUP() {
    CPacParser* const parser = m_sGlobalParser.exchange(nullptr);
    if (!parser)
        return;
    const InUse use(parser);
    parser->m_bCleanedUp = true;
}

bool CPacParser::IsPacEnabled(const std::optional<platform::ProxySettings>& settings) {
    return hasScript(settings) && sharedInstance()->IsPacURLValid();
}

void CPacParser::RefreshForUpload() {
    const uint64_t network = platform::networkChanges();
    const CPacParser* const parser = m_sGlobalParser;
    if (!parser)
        return;
    const auto settings = platform::copySystemProxySettings();
    const std::string address = hasScript(settings) ? settings->autoConfigURL : std::string();
    if (parser->m_strPacContent.empty() || parser->m_strLoadedFrom != address ||
        parser->m_nNetwork != network)
        CleanUP();
}

bool CPacParser::IsPacURLValid() const {
    return m_strPacContent.find("FindProxyForURL") != std::string::npos;
}

bool CPacParser::IsReady() {
    const InUse use(this);
    if (!m_pWebView)
        return false;
    waitForPage();
    return m_webViewLoad.loadSuccess();
}

void CPacParser::load() {
    const auto settings = platform::copySystemProxySettings();
    m_nNetwork = platform::networkChanges();
    if (!hasScript(settings))
        return;
    std::string url = settings->autoConfigURL;
    m_strLoadedFrom = url;
    if (!isUrlText(url))
        url = addPercentEscapes(url, PercentSign::keep);
    if (!isUrlText(url))
        return;
    if (const std::string path = pathOfFileURL(url); !path.empty()) {
        logInfo("CPacParser::sharedInstance, Pac file is a local file");
        m_strPacContent = filterAscII(platform::readSmallFile(path, kLongestScript).value_or(""));
    } else {
        logInfo("CPacParser::sharedInstance, Pac file is a remote file");
        downloadPacScript(url, this, m_pDownload, [this] { return m_bAnswered || m_bCleanedUp; });
    }
    if (m_bCleanedUp)
        return;
    if (m_strPacContent.empty()) {
        logWarning("CPacParser::sharedInstance cant get remote/local pac content");
        return;
    }
    m_pWebView = std::make_unique<PacPage>();
    m_pWebView->setFrameLoadDelegate_(&m_webViewLoad);
    m_pWebView->loadHTMLString(replaceall(PacPage::pageTemplate(), "$FUNCTIONS", m_strPacContent));
    waitForPage();
}

void CPacParser::waitForPage() const {
    for (int i = 0; i < kPageSteps && !m_webViewLoad.loadSuccess() && !m_bCleanedUp; ++i)
        platform::RunLoop::current().runFor(kPageStep);
}

void CPacParser::OnUrlReturn(intptr_t /*context*/, int result, const char* data) {
    m_pDownload = nullptr;  // deletes itself
    if (result != 0 && data) {
        const std::string text = filterAscII(data);
        if (text.size() <= kLongestScript)
            m_strPacContent = text;
        else
            logWarning("CPacParser::OnUrlReturn,the pac content is too long!");
    }
    m_bAnswered = true;
}

bool CPacParser::OnAskProxy(std::string& /*user*/, std::string& /*password*/) {
    // No other answer follows.
    m_bAnswered = true;
    return false;
}

std::vector<PacProxy> CPacParser::FindRoutes(const char* url) {
    const InUse use(this);
    logInfo("CPacParser::CocoaFindProxy Begin");
    auto routes = EvaluatedRoutes(url);
    logInfo("CPacParser::CocoaFindProxy End");
    return routes;
}

std::vector<PacProxy> CPacParser::FindProxy(const char* url) {
    return withoutDirect(FindRoutes(url));
}

std::vector<PacProxy> CPacParser::CocoaFindProxy(const char* url) {
    return withoutDirect(EvaluatedRoutes(url));
}

std::vector<PacProxy> CPacParser::ScriptFindProxy(const char* url) {
    return withoutDirect(PageRoutes(url));
}

std::vector<PacProxy> CPacParser::ParseProxy(const char* text) {
    return withoutDirect(ParseRoutes(text));
}

// False when the evaluator was not asked; its error is in the result.
bool CPacParser::evaluate(const char* url, const std::string& method, PacEvaluator::Result& result) {
    logInfo("{}", method);
    if (!url) {
        logNotice("{},URL null when try to find proxy", method);
        return false;
    }
    const std::string script = CocoaGetPACScript(url);
    if (script.empty()) {
        logNotice("{},PAC script blank when try to find proxy", method);
        return false;
    }
    const auto prepared = preparedURL(url, method, false);
    if (!prepared)
        return false;
    result = m_evaluator.proxiesForURL(script, urlForScript(*prepared));
    return true;
}

std::vector<PacProxy> CPacParser::EvaluatedRoutes(const char* url) {
    const InUse use(this);
    PacEvaluator::Result result;
    if (!evaluate(url, "CPacParser::CocoaFindProxy", result))
        return {};
    if (result.error) {
        logWarning("CPacParser::CocoaFindProxy,Error when getting proxies with script.");
        logWarning("CPacParser::CocoaFindProxy - Error: {}", *result.error);
        return {};
    }
    if (result.proxies.empty()) {
        logWarning("CPacParser::CocoaFindProxy, proxy not direct, but not supported, try ScriptFindProxy");
        return PageRoutes(url);
    }
    std::vector<PacProxy> proxies;
    for (const auto& proxy : result.proxies) {
        if (!proxy.kind)
            proxies.emplace_back();
        if (!proxy.kind || !proxy.host || !proxy.port)
            continue;
        const PacProxy found = asPacProxy(proxy);
        if (!platform::isUtf8(found.host)) {
            logWarning("CPacParser::CocoaFindProxy - Server Address can not get UTF8String!");
            continue;
        }
        logInfo("CPacParser::CocoaFindProxy,proxyAddress is {},porxyPort is {}!", found.host, found.port);
        proxies.push_back(found);
    }
    return proxies;
}

std::string CPacParser::CocoaFindProxyString(const char* url) {
    const InUse use(this);
    PacEvaluator::Result result;
    if (!evaluate(url, "CPacParser::CocoaFindProxyString", result))
        return {};
    if (result.error) {
        logWarning(
            "CPacParser::CocoaFindProxyString,CFNetworkCopyProxiesForAutoConfigurationScript: Error "
            "when getting proxies with script.");
        return {};
    }
    std::string text;
    for (const auto& proxy : result.proxies)
        text += (text.empty() ? "" : "; ") + asPacText(proxy);
    logInfo("CPacParser::CocoaFindProxyString,{}", text);
    return text;
}

std::string CPacParser::CocoaGetPACScript(const char* url) {
    const InUse use(this);
    const std::string method = "CPacParser::CocoaGetPACScript";
    logInfo("{}", method);
    if (!m_strPacContent.empty()) {
        logInfo("{},already have GlobalPacContent.Don't get it again.", method);
        return m_strPacContent;
    }
    logInfo("{},GlobalPacContent is nil", method);
    if (!url) {
        logNotice("{},URL null when try to get PAC script", method);
        return {};
    }
    const auto prepared = preparedURL(url, method, true);
    if (!prepared)
        return {};
    const auto settings = platform::copySystemProxySettings();
    if (!settings) {
        logWarning("{},call SCDynamicStoreCopyProxies failed.", method);
        return {};
    }
    const std::string address = autoConfigurationURL(*settings, *prepared);
    if (address.empty()) {
        logNotice("{},PAC script URL null.", method);
        return {};
    }
    // The encoding is detected; 0 is what a detection that failed leaves.
    constexpr int usedEncoding = 0;
    auto script = readPacText(address);
    if (!script.error.empty()) {
        logNotice("{},use the usedEncoding has error,encoding:{}, error:{}.", method, usedEncoding,
                  script.error);
        script = readPacText(address);
    }
    if (!script.error.empty()) {
        logWarning("{},use the encoding:{} error:{}", method, usedEncoding, script.error);
        logNotice("{},Script null when getting PAC script with url.", method);
    }
    return script.text;
}
