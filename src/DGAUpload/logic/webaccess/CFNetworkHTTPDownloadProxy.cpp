#include <safe_str_lib.h>

#include <algorithm>
#include <cstdlib>

#include "DGAUpload/logic/webaccess/CFNetworkHTTPDownload.h"
#include "DGAUpload/logic/webaccess/PacParser.h"
#include "platform/ProxySettings.h"
#include "platform/net/InternetPassword.h"
#include "platform/net/KernelRelease.h"
#include "support/ORVNLogger.h"

namespace {

constexpr size_t kLongestHost = 255;
constexpr size_t kLongestPacHost = 63;
constexpr char kHttpProxyProtocol[] = "http";

// As much of a host as can be one: ASCII, not too long.
std::string usableHost(const std::string& host) {
    const bool isAscii =
        std::all_of(host.begin(), host.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    return isAscii && host.size() <= kLongestHost ? host : std::string();
}

void findCredentials(const std::string& host, int32_t port, std::string& user, std::string& password) {
    if (const auto found =
            platform::findInternetPassword(host, static_cast<uint16_t>(port), kHttpProxyProtocol)) {
        user = found->account;
        password = found->password;
    }
}

}  // namespace

void CNetworkDownload::GetIEProxySetting(const char* url) {
    if (m_bProxyChecked) {
        logNotice("CNetworkDownload::GetIEProxySetting,don't re-check proxy!");
        return;
    }
    m_bProxyChecked = true;
    if (CPacParser::IsPacEnabled())
        ReadPacProxy(url);
    else
        ReadSystemProxy();
}

void CNetworkDownload::ReadPacProxy(const char* url) {
    logNotice("CNetworkDownload::GetIEProxySetting,it is pac proxy!");
    m_bUsePac = true;
    const auto proxies = CPacParser::sharedInstance()->FindProxy(url);
    if (proxies.empty()) {
        logNotice(
            "CNetworkDownload::GetIEProxySetting,it is pac proxy,but proxyaddr is nil,maybe it is "
            "DIRECT!");
    } else {
        const PacProxy& first = proxies.front();
        strncpy_s(m_szPacProxyHost, sizeof m_szPacProxyHost, first.host.c_str(), kLongestPacHost);
        m_pacProxyHost = first.host;
        m_nPacProxyPort = first.port;
        m_nProxyPort = first.port;
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

void CNetworkDownload::ReadSystemProxy() {
    const auto settings = platform::copySystemProxySettings();
    if (!settings)
        return;
    logNotice("CNetworkDownload::GetIEProxySetting,httpenable={:d},httpsenable={:d}", settings->http.enabled,
              settings->https.enabled);
    if (settings->http.enabled) {
        m_bHttpAuthTried = true;
        if (const std::string host = usableHost(settings->http.host); !host.empty()) {
            m_proxyHost = host;
            m_nProxyPort = settings->http.port;
            logNotice("CNetworkDownload::GetIEProxySetting,HTTP ,proxyaddr = {},proxyport={}", m_proxyHost,
                      m_nProxyPort);
            findCredentials(host, m_nProxyPort, m_httpProxyUser, m_httpProxyPassword);
        }
    }
    if (settings->https.enabled) {
        m_bHttpsAuthTried = true;
        if (const std::string host = usableHost(settings->https.host); !host.empty()) {
            m_proxyHost = host;
            m_nProxyPort = settings->https.port;
            logNotice("CNetworkDownload::GetIEProxySetting,HTTPS,proxyaddr = {},proxyport={}", m_proxyHost,
                      m_nProxyPort);
            // The keyring has one protocol for proxies of either kind.
            findCredentials(host, m_nProxyPort, m_httpsProxyUser, m_httpsProxyPassword);
        }
    }
}
