#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DGAUpload/logic/webaccess/IUrlDownloadSink.h"
#include "DGAUpload/logic/webaccess/PacDownload.h"
#include "platform/RunLoop.h"
#include "platform/net/HttpReadStream.h"

class BlockingWait;
class ProxyMemory;
struct PacProxy;

/// One HTTP GET or POST at a time, on the run loop of the calling thread, reported to a sink. Exactly one
/// OnUrlReturn follows a request that was sent, except after a cancel and after the sink declined to give
/// credentials; with m_bAutoDelete the engine deletes itself right after it.
///
/// The system's proxies, or those of the auto-configuration script, are looked up once per engine; of the
/// script's answer the next entry is tried where no connection came about. A status of 401, 403 or 407
/// repeats the request: with credentials that are stored, once, then with those that m_proxyMemory finds for
/// a proxy, then with what the sink gives. The first repetition comes at once, later ones after a pause that
/// grows to 5 s; each arms the time-out anew. The fifth challenge, or 30 s with challenges, end the request
/// as a connection that failed. Credentials are sent to proxies only. Every certificate is accepted, unless
/// m_rules says otherwise.
///
/// In memory mode a body of more than 64 MiB is only counted: the sink gets its size and null. In file mode
/// it goes to a file in /tmp/orvane, the user's private folder; while that cannot be used chunks are dropped.
///
/// The engine may be deleted, cancelled or started again at any moment on its thread, also by its sink (then
/// without m_bAutoDelete). `m_` fields are the engine's own but for m_bAutoDelete, m_nDownloadType,
/// m_bSkipCheckProxy, m_nLargestBody, m_rules and m_proxyMemory, which the creator sets before the request,
/// and m_postBody, which it may set instead of having PostData copy a body.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): one engine at a time, its fields by meaning
class CNetworkDownload : public IPacTransfer {
public:
    using Headers = std::map<std::string, std::string>;

    /// What somebody has decided about all transfers.
    struct Rules {
        std::function<bool(const std::string& host)> allowsHost;  ///< also of redirects; empty: every host
        bool verifyCertificates = false;                          ///< the server's, and a proxy's
    };

    CNetworkDownload();
    /// Ends a transfer without a report.
    ~CNetworkDownload() override;
    CNetworkDownload(const CNetworkDownload&) = delete;
    CNetworkDownload& operator=(const CNetworkDownload&) = delete;

    int beginScript(const char* url, IUrlDownloadSink* sink, unsigned long timeout) override;

    /// Sends a GET. `timeout` in milliseconds, 0 for none; `sink` must live until the report. With `block`
    /// the call returns after the transfer has ended, and the engine may be gone by then. 0 when the request
    /// was sent; -1 otherwise, without a report and without deleting itself.
    int DownloadURL(const char* url, IUrlDownloadSink* sink, unsigned long timeout, bool block,
                    bool saveToFile);

    /// Sends a POST of `length` bytes, which are copied; null sends the stored body again. `headers` may be
    /// null. 0 when the request was sent; otherwise -1, after a report (but for a null `url`) with which the
    /// engine may delete itself.
    int PostData(const char* url, const void* data, unsigned long length, IUrlDownloadSink* sink, bool block,
                 bool saveToFile, unsigned long timeout, const Headers* headers);

    /// Stores credentials for plain-http (SetHttpProxy) or "https://" requests and repeats the current
    /// request.
    void SetHttpProxy(std::string user, std::string password);
    void SetHttpsProxy(std::string user, std::string password);

    /// Whether a URL's escapes are rebuilt before it is sent; true for a new engine. Else only what no URL
    /// may hold is escaped.
    void SetNeedEscape(bool needEscape);

    /// Name of the file in file mode; null changes nothing.
    void SetFileName(const char* name);

    /// Waits for the end of the transfer that is under way; the engine may be gone by then.
    void SetBlock();

    /// Ends the transfer without a report, and a wait for it.
    void CancelCurrentDownload();

    /// Drops the stream, the timer and a pending repetition. Harmless when repeated.
    void TerminateDownload();

    /// Looks up the proxies for a URL, once per engine.
    void GetIEProxySetting(const char* url);

    /// Stores a chunk of the body.
    void OnNewStream(const unsigned char* bytes, unsigned long count);

    static void ReadStreamClientCallBack(platform::HttpReadStream* stream,
                                         platform::HttpReadStream::Event event, void* info);
    static void NetworkTimeoutTimerProc(platform::Timer* timer, void* info);

    std::optional<std::string> m_url;  ///< the request's URL as it is sent
    int32_t m_nHttps = 0;
    std::unique_ptr<platform::HttpReadStream> m_readStream;
    std::unique_ptr<platform::Timer> m_timer;
    IUrlDownloadSink* m_pSink = nullptr;
    uint64_t m_nDataSize = 0;
    char* m_pData = nullptr;  ///< from malloc: the body and a NUL, or 1024 bytes with the file's path
    bool m_bSuccess = false;
    bool m_bBlock = false;
    uint64_t m_nTimeout = 0;
    std::string m_httpProxyUser;
    std::string m_httpProxyPassword;
    std::string m_httpsProxyUser;
    std::string m_httpsProxyPassword;
    std::string m_strUrl;
    platform::RunLoop* m_blockRunLoop = nullptr;
    bool m_bAutoDelete = false;
    bool m_bHttpAuthTried = false;
    bool m_bHttpsAuthTried = false;
    char m_szPacProxyHost[64] = {};
    int32_t m_nPacProxyPort = 0;
    std::string m_proxyHost;
    int32_t m_nProxyPort = 0;
    bool m_bSaveToFile = false;
    std::FILE* m_pFile = nullptr;
    std::string m_fileName;
    intptr_t m_nDownloadType = 0;
    bool m_bNeedEscape = true;
    bool m_bSkipCheckProxy = false;
    bool m_bPostMode = false;
    std::shared_ptr<const std::string> m_postBody;
    bool m_bUsePac = false;
    std::string m_pacProxyHost;
    std::unique_ptr<Headers> m_headers;
    bool m_bProxyChecked = false;
    int32_t m_nOSMajor = 0;
    uint64_t m_nLargestBody = 0;  ///< a body of more bytes is a connection that failed; 0 for no such limit
    std::shared_ptr<ProxyMemory> m_proxyMemory;  ///< never null
    Rules m_rules;
    platform::HttpReadStream::Error m_error;  ///< of the last stream that failed

private:
    using TimeoutProc = void (*)(platform::Timer*, void*);

    void FindProxyAndScheme(const std::string& url, const char* skipMessage);
    bool MakeUrl(bool isPost);
    bool Send(platform::HttpRequest request);
    void SetStreamProxy(bool isPost);
    void ArmTimer();
    void ClearData();
    void WaitIfBlocking();
    void StopBlocking();
    void RestartRequest();
    int FailPost();

    void OnEnd();
    void OnError();
    void OnBytes();
    void OnChallenge(const platform::HttpResponse& response);
    void OnNotFound();
    void NoteMovedUrl(const std::string& url);
    void OnTooLarge();
    void AskSink(std::chrono::milliseconds pause);
    void AskMemory(const platform::HttpResponse& response, std::chrono::milliseconds pause);
    void ResumeBlocking();
    void Restart(std::string user, std::string password, std::chrono::milliseconds pause);
    std::optional<std::chrono::milliseconds> NextPause();
    std::chrono::milliseconds TimeForChallenges() const;
    void ForgetChallenges();
    void Report(int result, const char* data);

    void ReadPacProxy(const char* url);
    void UseSystemProxy(const std::optional<platform::ProxySettings>& found);
    platform::ProxyServer ProxyInUse() const;
    void UseKnownLogin();
    void UseRoute();
    bool UseNextRoute();
    void NoteRouteWorks();

    void AppendToMemory(const unsigned char* bytes, unsigned long count);
    bool GrowData();
    void BeginFile(const unsigned char* bytes, unsigned long count);
    void AppendToFile(const unsigned char* bytes, unsigned long count);

    static TimeoutProc s_timeoutProc;

    std::shared_ptr<BlockingWait> wait_;
    std::unique_ptr<platform::Timer> restartTimer_;
    size_t dataCapacity_ = 0;  ///< bytes behind m_pData in memory mode
    bool restarting_ = false;
    int restarts_ = 0;
    std::optional<std::chrono::steady_clock::time_point> firstChallenge_;
    std::shared_ptr<void> question_;  ///< for credentials, while it waits for an answer
    platform::HttpAuth proxyAuth_ = platform::kHttpAuthBasic;
    std::optional<platform::ProxySettings> settings_;  ///< the system's
    std::vector<PacProxy> routes_;                     ///< the script's, in the order in which they are tried
    size_t route_ = 0;
    std::shared_ptr<void> alive_;  ///< tells a caller of the sink whether the engine is still there
};
