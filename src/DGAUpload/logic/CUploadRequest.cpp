#include "DGAUpload/logic/CUploadRequest.h"

#include <utility>

#include "DGAUpload/logic/webaccess/PacParser.h"
#include "DGAUpload/logic/webaccess/ProxyMemory.h"
#include "platform/RunLoop.h"

namespace {

constexpr unsigned long kTimeout = 30000;  // milliseconds
constexpr uint64_t kLargestReply = uint64_t{1024} * 1024;

}  // namespace

void CUploadRequest::query(const std::string& url) {
    m_proxies = std::make_shared<ProxyMemory>();
    if (&platform::RunLoop::current() == &platform::RunLoop::main())
        CPacParser::RefreshForUpload();
    send(kQuery, [&](CNetworkDownload& engine) {
        return engine.DownloadURL(url.c_str(), this, kTimeout, false, false);
    });
}

void CUploadRequest::post(const std::string& url, std::string body) {
    send(kPiece, [&](CNetworkDownload& engine) {
        engine.m_postBody = std::make_shared<const std::string>(std::move(body));
        const CNetworkDownload::Headers headers{{"Content-Type", "multipart/form-data"}};
        return engine.PostData(url.c_str(), nullptr, 0, this, false, false, kTimeout, &headers);
    });
}

void CUploadRequest::send(int downloadType, const std::function<int(CNetworkDownload&)>& start) {
    const auto self = shared_from_this();  // the loop may turn inside, and the upload's owner drop us
    {
        const std::lock_guard<std::recursive_mutex> hold(m_mutex);
        m_loop = &platform::RunLoop::current();
    }
    auto* engine = new CNetworkDownload;
    engine->m_bAutoDelete = true;
    engine->m_nDownloadType = downloadType;
    engine->m_nLargestBody = kLargestReply;
    engine->SetNeedEscape(false);
    engine->m_rules = m_rules;
    m_error = {};
    if (m_proxies)
        engine->m_proxyMemory = m_proxies;
    m_engine = engine;
    m_isStarting = true;
    const bool isSent = start(*engine) == 0;
    m_isStarting = false;
    if (m_engine != engine || (isSent && !m_isCancelled))
        return;  // reported, and gone; or on its way
    m_engine = nullptr;
    m_error = engine->m_error;
    delete engine;
    if (!m_isCancelled)
        OnUrlReturn(downloadType, -1, nullptr);
}

void CUploadRequest::abandon() {
    platform::RunLoop* loop = nullptr;
    {
        const std::lock_guard<std::recursive_mutex> hold(m_mutex);
        m_upload = nullptr;
        loop = m_loop;
    }
    if (loop == nullptr)
        return;
    if (loop == &platform::RunLoop::current())
        cancel();
    else
        loop->perform([self = shared_from_this()] { self->cancel(); });
}

void CUploadRequest::cancel() {
    m_isCancelled = true;
    if (!m_isStarting)
        delete std::exchange(m_engine, nullptr);
}

void CUploadRequest::OnUrlReturn(intptr_t downloadType, int result, const char* data) {
    const auto self = shared_from_this();
    if (const auto* const engine = std::exchange(m_engine, nullptr))
        m_error = engine->m_error;
    const std::lock_guard<std::recursive_mutex> hold(m_mutex);
    if (m_upload != nullptr)
        m_upload->OnUrlReturn(downloadType, result, data);
}

bool CUploadRequest::OnAskProxy(std::string& user, std::string& password) {
    const std::lock_guard<std::recursive_mutex> hold(m_mutex);
    return m_upload != nullptr && m_upload->OnAskProxy(user, password);
}
