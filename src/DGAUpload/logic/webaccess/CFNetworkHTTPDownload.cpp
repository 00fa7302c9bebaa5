#include "DGAUpload/logic/webaccess/CFNetworkHTTPDownload.h"

#include <fmt/format.h>
#include <safe_mem_lib.h>
#include <safe_str_lib.h>
#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "DGAUpload/logic/webaccess/BlockingWait.h"
#include "DGAUpload/logic/webaccess/ProxyMemory.h"
#include "DGAUpload/logic/webaccess/UrlEscape.h"
#include "platform/ProxySettings.h"
#include "platform/Text.h"
#include "support/ORVNLogger.h"
#include "support/PlainText.h"

namespace {

constexpr char kHttpsPrefix[] = "https://";
constexpr size_t kHttpsPrefixLength = 8;
constexpr size_t kTooShortUrl = 11;
constexpr int kFirstReleaseWithStreamProxies = 14;
// Where another way is left to try.
constexpr std::chrono::seconds kConnectTime{10};
constexpr uint64_t kLongestTimeout = 1'000'000'000'000;  // 31 years, in milliseconds

void logViolation(const char* message, void* /*where*/, errno_t error) {
    logWarning("CNetworkDownload::logViolation,{},error={}", message ? message : "", error);
}

void reportViolations() {
    static std::once_flag once;
    std::call_once(once, [] {
        set_str_constraint_handler_s(&logViolation);
        set_mem_constraint_handler_s(&logViolation);
    });
}

[[maybe_unused]] const bool kFetchesScripts = [] {
    setPacTransferMaker([]() -> IPacTransfer* { return new CNetworkDownload; });
    return true;
}();

}  // namespace

CNetworkDownload::TimeoutProc CNetworkDownload::s_timeoutProc = nullptr;

CNetworkDownload::CNetworkDownload()
    : m_proxyMemory(std::make_shared<ProxyMemory>()),
      wait_(std::make_shared<BlockingWait>()),
      alive_(std::make_shared<char>()) {
    reportViolations();
}

CNetworkDownload::~CNetworkDownload() {
    TerminateDownload();
    StopBlocking();
    std::free(m_pData);
}

int CNetworkDownload::beginScript(const char* url, IUrlDownloadSink* sink, unsigned long timeout) {
    m_bAutoDelete = true;
    m_bSkipCheckProxy = true;
    return DownloadURL(url, sink, timeout, false, false);
}

int CNetworkDownload::DownloadURL(const char* url, IUrlDownloadSink* sink, unsigned long timeout, bool block,
                                  bool saveToFile) {
    if (!url) {
        logNotice("CNetworkDownload::DownloadURL,url is nil,don't download it!");
        return -1;
    }
    logInfo("CNetworkDownload::DownloadURL，url = {}", support::addressWithoutSecrets(url));
    const std::string text(platform::trimmed(url));
    FindProxyAndScheme(text, "CNetworkDownload::DownloadURL,skip check proxy!");
    m_bPostMode = false;
    m_bSaveToFile = saveToFile;
    m_bBlock = block;
    m_pSink = sink;
    m_nTimeout = timeout;
    m_strUrl = text;
    TerminateDownload();
    ClearData();
    if (!MakeUrl(false) || !Send({"GET", *m_url, {}, nullptr, {}, {}})) {
        TerminateDownload();
        return -1;
    }
    WaitIfBlocking();
    return 0;
}

int CNetworkDownload::PostData(const char* url, const void* data, unsigned long length,
                               IUrlDownloadSink* sink, bool block, bool saveToFile, unsigned long timeout,
                               const Headers* headers) {
    if (!url) {
        logNotice("CNetworkDownload::PostData,url is nil,don't post it!");
        return -1;
    }
    logInfo("CNetworkDownload::PostData,before trim, url={}", support::addressWithoutSecrets(url));
    const std::string text(platform::trimmed(url));
    logInfo("CNetworkDownload::PostData,url={}", support::addressWithoutSecrets(text));
    FindProxyAndScheme(text, "CNetworkDownload::PostData,skip check proxy!");
    restartTimer_.reset();
    question_.reset();
    m_bPostMode = true;
    m_bSaveToFile = saveToFile;
    m_bBlock = block;
    m_pSink = sink;
    m_strUrl = text;
    m_nTimeout = timeout;
    if (data)
        m_postBody = std::make_shared<const std::string>(static_cast<const char*>(data), length);
    if (!m_postBody || !MakeUrl(true))
        return FailPost();

    platform::HttpRequest request{"POST", *m_url, {}, m_postBody, {}, {}};
    if (headers) {
        request.headers.assign(headers->begin(), headers->end());
        if (!m_headers)
            m_headers = std::make_unique<Headers>(*headers);
    }
    if (!Send(std::move(request)))
        return FailPost();
    ClearData();
    WaitIfBlocking();
    return 0;
}

int CNetworkDownload::FailPost() {
    m_postBody.reset();
    TerminateDownload();
    Report(static_cast<int>(m_nDataSize), m_pData);
    return -1;
}

void CNetworkDownload::FindProxyAndScheme(const std::string& url, const char* skipMessage) {
    if (m_bSkipCheckProxy)
        logNotice("{}", skipMessage);
    else
        GetIEProxySetting(url.c_str());
    if (strncasecmp(url.c_str(), kHttpsPrefix, kHttpsPrefixLength) == 0)
        m_nHttps = 1;
    if (restarting_)
        return;
    ForgetChallenges();
    UseKnownLogin();
}

bool CNetworkDownload::MakeUrl(bool isPost) {
    m_url.reset();
    if (m_strUrl.size() <= kTooShortUrl)
        return false;
    std::string text = urlTextFromBytes(m_strUrl);
    if (m_bNeedEscape) {
        text = addPercentEscapes(removePercentEscapes(text), PercentSign::escape);
    } else {
        if (!isUrlText(text))
            logNotice(
                "CNetworkDownload::{},CFURLCreateWithString failed,need use Escape try "
                "again!url is {}",
                isPost ? "PostData" : "DownloadURL", m_strUrl);
        text = addPercentEscapes(text, PercentSign::keep);
    }
    if (isUrlText(text)) {
        m_url = std::move(text);
        return true;
    }
    logWarning("CNetworkDownload::{},Call CFURLCreateWithString failed!url is {}",
               isPost ? "PostData" : "DownloadURL", m_strUrl);
    return false;
}

// Opens a stream for the request in the place of the one before.
bool CNetworkDownload::Send(platform::HttpRequest request) {
    const bool isPost = m_bPostMode;
    if (m_nHttps == 1 && m_bHttpsAuthTried) {
        request.proxyAuth = proxyAuth_;
        request.proxyUser = m_httpsProxyUser;
        request.proxyPassword = m_httpsProxyPassword;
    } else if (m_nHttps != 1 && m_bHttpAuthTried) {
        request.proxyAuth = proxyAuth_;
        request.proxyUser = m_httpProxyUser;
        request.proxyPassword = m_httpProxyPassword;
    }
    if (route_ + 1 < routes_.size())
        request.connectTime = kConnectTime;
    m_readStream = std::make_unique<platform::HttpReadStream>(std::move(request));
    SetStreamProxy(isPost);
    m_readStream->setAutomaticRedirection(true);
    m_readStream->setLaxCertificates(m_nHttps == 1 && !m_rules.verifyCertificates,
                                     !m_rules.verifyCertificates);
    m_readStream->setHostRule(m_rules.allowsHost);

    const auto logFailure = [&](const char* call) {
        m_error = m_readStream->error();
        if (isPost)
            logNotice("CNetworkDownload::PostData,{} failed! domain:{},error:{}", call, m_error.domain,
                      m_error.code);
    };
    auto* const stream = m_readStream.get();
    if (!stream->setClient([this, stream](platform::HttpReadStream::Event event) {
            ReadStreamClientCallBack(stream, event, this);
        })) {
        logFailure("CFReadStreamSetClient");
        return false;
    }
    if (!stream->open()) {
        logFailure("CFReadStreamOpen");
        return false;
    }
    ArmTimer();
    return true;
}

void CNetworkDownload::SetStreamProxy(bool isPost) {
    if (!m_bUsePac || m_nOSMajor < kFirstReleaseWithStreamProxies) {
        if (!m_bUsePac && !(m_nHttps == 1 ? m_bHttpsAuthTried : m_bHttpAuthTried))
            return;
        if (settings_)
            m_readStream->setProxy(*settings_);
        return;
    }
    logNotice("CNetworkDownload::DownloadURL,PAC and over 10.9[{}]!", m_nOSMajor);
    if (m_pacProxyHost.empty()) {
        logNotice("CNetworkDownload::{},it is DIRECT!", isPost ? "PostData" : "DownloadURL");
        return;
    }
    platform::ProxySettings settings;
    settings.https = ProxyInUse();
    settings.https.enabled = false;
    m_readStream->setProxy(std::move(settings));
}

void CNetworkDownload::ArmTimer() {
    m_timer.reset();
    if (m_nTimeout == 0 && !firstChallenge_)
        return;
    if (!s_timeoutProc)
        s_timeoutProc = &NetworkTimeoutTimerProc;
    std::chrono::milliseconds timeout(m_nTimeout == 0 ? kLongestTimeout
                                                      : std::min(m_nTimeout, kLongestTimeout));
    if (firstChallenge_)
        timeout = std::min(timeout, TimeForChallenges());
    m_timer = std::make_unique<platform::Timer>(platform::RunLoop::current(), timeout, false,
                                                [this] { s_timeoutProc(m_timer.get(), this); });
}

void CNetworkDownload::TerminateDownload() {
    restartTimer_.reset();
    question_.reset();
    if (m_timer) {
        m_timer->pause();
        m_timer.reset();
    }
    if (m_readStream) {
        m_readStream->close();
        m_readStream.reset();
    }
}

void CNetworkDownload::CancelCurrentDownload() {
    TerminateDownload();
    StopBlocking();
}

void CNetworkDownload::ClearData() {
    std::free(std::exchange(m_pData, nullptr));
    m_nDataSize = 0;
    dataCapacity_ = 0;
}

void CNetworkDownload::SetNeedEscape(bool needEscape) {
    m_bNeedEscape = needEscape;
}

void CNetworkDownload::SetFileName(const char* name) {
    if (name)
        m_fileName = name;
}

void CNetworkDownload::SetHttpProxy(std::string user, std::string password) {
    logInfo("CNetworkDownload::SetHttpProxy,m_bPostMode={:d},Begin", m_bPostMode);
    m_httpProxyUser = std::move(user);
    m_httpProxyPassword = std::move(password);
    TerminateDownload();
    RestartRequest();
    logInfo("CNetworkDownload::SetHttpProxy,End");
}

void CNetworkDownload::SetHttpsProxy(std::string user, std::string password) {
    logInfo("CNetworkDownload::SetHttpsProxy,m_bPostMode={:d},Begin", m_bPostMode);
    m_httpsProxyUser = std::move(user);
    m_httpsProxyPassword = std::move(password);
    TerminateDownload();
    RestartRequest();
    logInfo("CNetworkDownload::SetHttpsProxy,End");
}

// The engine may be gone after this.
void CNetworkDownload::RestartRequest() {
    const std::weak_ptr<void> alive = alive_;
    const std::string url = m_strUrl;
    restarting_ = true;
    if (m_bPostMode)
        PostData(url.c_str(), nullptr, 0, m_pSink, m_bBlock, false, m_nTimeout, m_headers.get());
    else
        DownloadURL(url.c_str(), m_pSink, m_nTimeout, m_bBlock, m_bSaveToFile);
    if (!alive.expired())
        restarting_ = false;
}

void CNetworkDownload::SetBlock() {
    if (m_bBlock)
        return;
    m_bBlock = true;
    WaitIfBlocking();
}

// The engine may be gone after this.
void CNetworkDownload::WaitIfBlocking() {
    if (!m_bBlock)
        return;
    m_blockRunLoop = &platform::RunLoop::current();
    // A repetition is made inside the wait for the first request, which then goes on: no deeper nesting.
    if (std::exchange(restarting_, false) && wait_->resume())
        return;
    const auto wait = std::make_shared<BlockingWait>();
    wait_ = wait;
    BlockingWait::run(*m_blockRunLoop, wait);
}

void CNetworkDownload::StopBlocking() {
    m_blockRunLoop = nullptr;
    wait_->end();
}
