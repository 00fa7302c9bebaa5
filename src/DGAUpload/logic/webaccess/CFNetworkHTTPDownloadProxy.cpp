#include <safe_str_lib.h>

#include <algorithm>
#include <cstdlib>

#include "DGAUpload/logic/webaccess/CFNetworkHTTPDownload.h"
#include "DGAUpload/logic/webaccess/PacParser.h"
#include "DGAUpload/logic/webaccess/ProxyMemory.h"
#include "platform/ProxySettings.h"
#include "platform/net/KernelRelease.h"
#include "support/ORVNLogger.h"

namespace {

constexpr size_t kLongestHost = 255;
constexpr size_t kLongestPacHost = 63;

// As much of a host as can be one: ASCII, not too long.
std::string usableHost(const std::string& host) {
    const bool isAscii =
        std::all_of(host.begin(), host.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    return isAscii && host.size() <= kLongestHost ? host : std::string();
}

}  // namespace

void CNetworkDownload::GetIEProxySetting(const char* url) {
    if (m_bProxyChecked) {
        logNotice("CNetworkDownload::GetIEProxySetting,don't re-check proxy!");
        return;
    }
    m_bProxyChecked = true;
    const auto& settings = m_proxyMemory->settings();
    if (CPacParser::IsPacEnabled(settings))
        ReadPacProxy(url);
    else
        UseSystemProxy(settings);
}

void CNetworkDownload::ReadPacProxy(const char* url) {
    logNotice("CNetworkDownload::GetIEProxySetting,it is pac proxy!");
    m_bUsePac = true;
    routes_ = m_proxyMemory->inOrder(CPacParser::sharedInstance()->FindRoutes(url));
    UseRoute();
    if (m_pacProxyHost.empty()) {
        logNotice(
            "CNetworkDownload::GetIEProxySetting,it is pac proxy,but proxyaddr is nil,maybe it is "
            "DIRECT!");
    } else {
        strncpy_s(m_szPacProxyHost, sizeof m_szPacProxyHost, m_pacProxyHost.c_str(), kLongestPacHost);
        m_nPacProxyPort = m_nProxyPort;
    }
    m_bHttpAuthTried = true;
    m_bHttpsAuthTried = true;
    const auto release = platform::kernelRelease();
    if (!release) {
        logNotice("CNetworkDownload::GetIEProxySetting,Get kern.osrelease failed!");
        return;
    }
    m_nOSMajor =
        static_cast<int32_t>(std::strtol(release->substr(0, release->find('.')).c_str(), nullptr, 10));
    logNotice("CNetworkDownload::GetIEProxySetting,kern.osrelease={}", *release);
}

void CNetworkDownload::UseSystemProxy(const std::optional<platform::ProxySettings>& found) {
    settings_ = found;
    if (!settings_)
        return;
    const auto& settings = settings_;
    logNotice("CNetworkDownload::GetIEProxySetting,httpenable={:d},httpsenable={:d}", settings->http.enabled,
              settings->https.enabled);
    if (settings->http.enabled) {
        m_bHttpAuthTried = true;
        if (const std::string host = usableHost(settings->http.host); !host.empty()) {
            m_proxyHost = host;
            m_nProxyPort = settings->http.port;
            logNotice("CNetworkDownload::GetIEProxySetting,HTTP ,proxyaddr = {},proxyport={}", m_proxyHost,
                      m_nProxyPort);
        }
    }
    if (settings->https.enabled) {
        m_bHttpsAuthTried = true;
        if (const std::string host = usableHost(settings->https.host); !host.empty()) {
            m_proxyHost = host;
            m_nProxyPort = settings->https.port;
            logNotice("CNetworkDownload::GetIEProxySetting,HTTPS,proxyaddr = {},proxyport={}", m_proxyHost,
                      m_nProxyPort);
        }
    }
}

// Not enabled for none.
platform::ProxyServer CNetworkDownload::ProxyInUse() const {
    if (m_bUsePac && route_ < routes_.size()) {
        const PacProxy& route = routes_[route_];
        return {.enabled = !route.host.empty(), .host = route.host, .port = route.port, .kind = route.kind};
    }
    if (!settings_)
        return {};
    return m_nHttps == 1 ? settings_->https : settings_->http;
}

void CNetworkDownload::UseKnownLogin() {
    const auto login = m_proxyMemory->login(ProxyInUse());
    if (!login)
        return;
    (m_nHttps == 1 ? m_httpsProxyUser : m_httpProxyUser) = login->user;
    (m_nHttps == 1 ? m_httpsProxyPassword : m_httpProxyPassword) = login->password;
    proxyAuth_ = login->auth;
}

void CNetworkDownload::UseRoute() {
    const bool isProxy = route_ < routes_.size();
    m_pacProxyHost = isProxy ? routes_[route_].host : std::string();
    m_nProxyPort = isProxy ? routes_[route_].port : 0;
}

bool CNetworkDownload::UseNextRoute() {
    if (route_ >= routes_.size())
        return false;
    ProxyMemory::routeFailed(routes_[route_]);
    if (route_ + 1 == routes_.size())
        return false;
    ++route_;
    UseRoute();
    logNotice("CNetworkDownload::UseNextRoute,no connection, the next is {}:{}",
              m_pacProxyHost.empty() ? "DIRECT" : m_pacProxyHost, m_nProxyPort);
    UseKnownLogin();
    return true;
}

void CNetworkDownload::NoteRouteWorks() {
    if (route_ < routes_.size())
        m_proxyMemory->routeWorked(routes_[route_]);
}
