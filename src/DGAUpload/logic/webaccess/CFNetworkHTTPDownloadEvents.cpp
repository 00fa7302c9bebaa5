#include <safe_mem_lib.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <utility>

#include "DGAUpload/logic/webaccess/BlockingWait.h"
#include "DGAUpload/logic/webaccess/CFNetworkHTTPDownload.h"
#include "DGAUpload/logic/webaccess/ProxyMemory.h"
#include "support/ORVNLogger.h"
#include "support/PlainText.h"

namespace {

using namespace std::chrono_literals;
using Event = platform::HttpReadStream::Event;

constexpr size_t kReadBufferSize = 16384;
constexpr size_t kLongestUrl = 2047;
constexpr int kProxyWantsToKnow = 407;
constexpr auto kFirstPause = 500ms;
constexpr std::chrono::milliseconds kLongestPause = 5s;
constexpr int kMostChallenges = 5;
constexpr std::chrono::milliseconds kMostTimeForChallenges = 30s;

}  // namespace

void CNetworkDownload::ReadStreamClientCallBack(platform::HttpReadStream* /*stream*/, Event event,
                                                void* info) {
    assert(info);
    auto* const self = static_cast<CNetworkDownload*>(info);
    switch (event) {
        case Event::endEncountered:
            self->OnEnd();
            break;
        case Event::errorOccurred:
            self->OnError();
            break;
        case Event::hasBytesAvailable:
            self->OnBytes();
            break;
        case Event::openCompleted:
            break;
    }
}

void CNetworkDownload::NetworkTimeoutTimerProc(platform::Timer* /*timer*/, void* info) {
    auto* const self = static_cast<CNetworkDownload*>(info);
    if (!self)
        return;
    self->TerminateDownload();
    self->Report(-1, nullptr);
}

// Tells the sink, ends the wait and deletes the engine if it is marked so: the engine may be gone after this.
void CNetworkDownload::Report(int result, const char* data) {
    const std::weak_ptr<void> alive = alive_;
    const auto wait = wait_;
    ForgetChallenges();
    if (m_pSink)
        m_pSink->OnUrlReturn(m_nDownloadType, result, data);
    wait->end();
    if (alive.expired())
        return;
    if (wait_ == wait)
        m_blockRunLoop = nullptr;
    if (m_bAutoDelete)
        delete this;
}

void CNetworkDownload::OnEnd() {
    logInfo("CNetworkDownload::ReadStreamClientCallBack,kCFStreamEventEndEncountered");
    m_bSuccess = true;
    NoteRouteWorks();
    TerminateDownload();
    Report(static_cast<int>(m_nDataSize), m_pData);
}

void CNetworkDownload::OnError() {
    logNotice("CNetworkDownload::ReadStreamClientCallBack,kCFStreamEventErrorOccurred");
    m_bSuccess = false;
    if (m_readStream)
        m_error = m_readStream->error();
    const bool neverSent = m_readStream && m_error.neverSent;
    TerminateDownload();
    if (neverSent && UseNextRoute())
        return RestartRequest();
    Report(-1, nullptr);
}

void CNetworkDownload::OnTooLarge() {
    logWarning("CNetworkDownload::OnTooLarge,the body is longer than {}", m_nLargestBody);
    m_bSuccess = false;
    TerminateDownload();
    Report(-1, nullptr);
}

void CNetworkDownload::OnNotFound() {
    logNotice("CNetworkDownload::ReadStreamClientCallBack,kCFStreamEventHasBytesAvailable 2,Error=404");
    m_bSuccess = false;
    TerminateDownload();
    Report(0, nullptr);
}

void CNetworkDownload::OnBytes() {
    if (const auto response = m_readStream->response()) {
        const int status = response->status;
        if (status == 401 || status == 403 || status == 407)
            return OnChallenge(*response);
        if (status == 404)
            return OnNotFound();
    }
    std::array<unsigned char, kReadBufferSize> buffer;
    uint32_t total = 0;
    for (;;) {
        if (!m_readStream->hasBytesAvailable()) {
            logNotice(
                "CNetworkDownload::ReadStreamClientCallBack,kCFStreamEventHasBytesAvailable 3,"
                "call CFReadStreamHasBytesAvailable return false!");
            break;
        }
        memset_s(buffer.data(), buffer.size(), 0, buffer.size());
        const auto count = m_readStream->read(buffer.data(), buffer.size() - 1);
        if (count <= 0)
            break;
        OnNewStream(buffer.data(), static_cast<unsigned long>(count));
        total += static_cast<uint32_t>(count);
        if (m_nLargestBody != 0 && m_nDataSize > m_nLargestBody)
            return OnTooLarge();
    }
    if (static_cast<int32_t>(total) < 0)
        OnEnd();
}

void CNetworkDownload::OnChallenge(const platform::HttpResponse& response) {
    logNotice("CNetworkDownload::ReadStreamClientCallBack,kCFStreamEventHasBytesAvailable 1,Error={}",
              response.status);
    StopBlocking();
    NoteMovedUrl(response.url);
    if (!m_pSink)
        return;
    NoteRouteWorks();
    const bool isHttps = m_nHttps == 1;
    bool& tried = isHttps ? m_bHttpsAuthTried : m_bHttpAuthTried;
    const std::string user = isHttps ? m_httpsProxyUser : m_httpProxyUser;
    const std::string password = isHttps ? m_httpsProxyPassword : m_httpProxyPassword;
    TerminateDownload();
    const auto pause = NextPause();
    if (!pause)
        Report(-1, nullptr);
    else if (!std::exchange(tried, true) && !user.empty())
        Restart(user, password, *pause);
    else if (response.status == kProxyWantsToKnow && response.proxy.enabled)
        AskMemory(response, *pause);
    else
        AskSink(*pause);
}

void CNetworkDownload::AskSink(std::chrono::milliseconds pause) {
    std::string user;
    std::string password;
    const std::weak_ptr<void> alive = alive_;
    const bool agreed = m_pSink->OnAskProxy(user, password);
    if (alive.expired() || !agreed)
        return;
    proxyAuth_ = platform::kHttpAuthBasic;
    Restart(std::move(user), std::move(password), pause);
}

// The answer may take a moment, for which a wait for this transfer goes on.
void CNetworkDownload::AskMemory(const platform::HttpResponse& response, std::chrono::milliseconds pause) {
    const auto question = std::make_shared<char>();
    question_ = question;
    m_proxyMemory->nextLogin(response.proxy, response.proxyAuths,
                             [this, pause, asked = std::weak_ptr<void>(question)](const auto& login) {
                                 if (asked.expired())
                                     return;
                                 question_.reset();
                                 StopBlocking();
                                 if (!login)
                                     return AskSink(pause);
                                 proxyAuth_ = login->auth;
                                 Restart(login->user, login->password, pause);
                             });
    // Else it is answered, and perhaps the engine is gone.
    if (question.use_count() > 1)
        ResumeBlocking();
}

void CNetworkDownload::ResumeBlocking() {
    if (m_bBlock && wait_->resume())
        m_blockRunLoop = &platform::RunLoop::current();
}

void CNetworkDownload::NoteMovedUrl(const std::string& url) {
    if (url.empty()) {
        logNotice(
            "CNetworkDownload::ReadStreamClientCallBack,kCFStreamEventHasBytesAvailable 2,"
            "urlNew == NULL");
    } else if (url.size() > kLongestUrl) {
        logNotice(
            "CNetworkDownload::ReadStreamClientCallBack,kCFStreamEventHasBytesAvailable 2,"
            "get buffer from CFString failed");
    } else if (url != m_strUrl) {
        m_bNeedEscape = false;
        m_strUrl = url;
        logInfo(
            "CNetworkDownload::ReadStreamClientCallBack,kCFStreamEventHasBytesAvailable 2, "
            "jump to another url = {}",
            support::addressWithoutSecrets(url));
    }
}

// Repeats the request with these credentials, after the pause that is due.
void CNetworkDownload::Restart(std::string user, std::string password, std::chrono::milliseconds pause) {
    const auto repeat = [this](const std::string& name, const std::string& secret) {
        if (m_nHttps == 1)
            SetHttpsProxy(name, secret);
        else
            SetHttpProxy(name, secret);
    };
    if (pause == 0ms)
        return repeat(user, password);
    ResumeBlocking();
    restartTimer_ = std::make_unique<platform::Timer>(
        platform::RunLoop::current(), pause, false,
        [this, repeat, user = std::move(user), password = std::move(password)] {
            StopBlocking();
            repeat(user, password);
        });
}

// None when it was challenged often or long enough.
std::optional<std::chrono::milliseconds> CNetworkDownload::NextPause() {
    if (!firstChallenge_)
        firstChallenge_ = std::chrono::steady_clock::now();
    const int restart = restarts_++;
    if (restart + 1 >= kMostChallenges)
        return std::nullopt;
    const auto pause =
        restart == 0 ? 0ms
                     : std::min<std::chrono::milliseconds>(kFirstPause * (1 << (restart - 1)), kLongestPause);
    return pause < TimeForChallenges() ? std::optional(pause) : std::nullopt;
}

std::chrono::milliseconds CNetworkDownload::TimeForChallenges() const {
    const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - *firstChallenge_);
    return std::max(kMostTimeForChallenges - spent, 0ms);
}

void CNetworkDownload::ForgetChallenges() {
    restarts_ = 0;
    firstChallenge_.reset();
}
