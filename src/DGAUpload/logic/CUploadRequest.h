#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "DGAUpload/logic/webaccess/CFNetworkHTTPDownload.h"
#include "DGAUpload/logic/webaccess/IUrlDownloadSink.h"

namespace platform {
class RunLoop;
}

/// The requests of one upload, one at a time. It stands between an engine, which keeps a raw pointer to its
/// sink, and the upload, which its owner may destroy at any moment and on any thread: what an engine reports
/// reaches the upload only while that is there. The thread that sends outlives the upload.
class CUploadRequest final : public IUrlDownloadSink, public std::enable_shared_from_this<CUploadRequest> {
public:
    static constexpr int kQuery = 10;  ///< the download type of the workload query
    static constexpr int kPiece = 11;  ///< and of a piece

    /// Held by std::shared_ptr. `upload` is called on the thread that sends, until abandon().
    explicit CUploadRequest(IUrlDownloadSink& upload) : m_upload(&upload) {}
    ~CUploadRequest() override = default;

    /// Before the first request.
    void setRules(CNetworkDownload::Rules rules) { m_rules = std::move(rules); }

    /// Why the last one failed, if it did.
    const platform::HttpReadStream::Error& error() const { return m_error; }

    CUploadRequest(const CUploadRequest&) = delete;
    CUploadRequest& operator=(const CUploadRequest&) = delete;

    /// Asks for the workload. The outcome is reported once, also if nothing could be sent: then with -1 and
    /// null, before this returns. The caller may be gone when this returns.
    void query(const std::string& url);

    /// Posts a piece, under the same conditions.
    void post(const std::string& url, std::string body);

    /// Ends a request that is under way, on its own thread, and reports nothing any more: a report that
    /// runs on another thread has ended when this returns. Any thread.
    void abandon();

    void OnUrlReturn(intptr_t downloadType, int result, const char* data) override;
    bool OnAskProxy(std::string& user, std::string& password) override;

private:
    void send(int downloadType, const std::function<int(CNetworkDownload&)>& start);
    void cancel();

    std::recursive_mutex m_mutex;          // for the next two; held during a report, which may send again
    IUrlDownloadSink* m_upload;            // null once abandoned
    platform::RunLoop* m_loop = nullptr;   // of the thread that sends
    CNetworkDownload* m_engine = nullptr;  // under way; deletes itself after its report
    std::shared_ptr<ProxyMemory> m_proxies;
    CNetworkDownload::Rules m_rules;
    platform::HttpReadStream::Error m_error;
    bool m_isStarting = false;
    bool m_isCancelled = false;
};
