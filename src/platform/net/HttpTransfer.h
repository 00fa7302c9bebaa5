#pragma once

#include <curl/curl.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/net/HttpConnectionPool.h"
#include "platform/net/HttpMessage.h"

namespace platform {

/// The curl side of a HttpReadStream: one handle, its proxies and its redirects. Redirects are followed here
/// rather than by curl, because each step may need another proxy.
class HttpTransfer final : private HttpConnectionPool::Transfer {
public:
    struct Options {
        HttpRequest request;
        std::optional<ProxySettings> proxy;
        bool followRedirects = false;
        bool laxCertificates = false;
        bool laxProxyCertificates = false;
        std::function<bool(const std::string& host)> allowsHost;  ///< empty: every host
    };

    /// Called from inside curl: it only takes notes.
    class Listener {
    public:
        virtual ~Listener() = default;

        /// False leaves the bytes with curl and rests the connection until resume().
        virtual bool takeBody(std::string_view bytes) = 0;
        virtual void ended(CURLcode result) = 0;
    };

    HttpTransfer(Options options, Listener& listener);
    ~HttpTransfer() override;
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    CURLcode start();
    void resume();
    const std::optional<HttpResponse>& response() const { return response_; }
    /// Of a transfer that failed: whether no connection came about.
    bool neverSent() const;

private:
    static size_t onHeader(const char* bytes, size_t size, size_t count, void* self);
    static size_t onBody(const char* bytes, size_t size, size_t count, void* self);
    void transferEnded(CURLcode result) override;

    CURLcode setUp();
    CURLcode setUpUrl();
    void setUpProxy();
    void setUpRequest();
    CURLcode begin();
    std::optional<CURLcode> followRedirect();
    bool mayTakeBodyTo(const std::string& target) const;
    HttpResponse responseWith(int status) const;
    void noteCertificates();
    long status() const;
    bool isRedirect() const;

    Options options_;
    Listener& listener_;
    std::string url_;
    std::string method_;
    ProxyServer proxy_;  // in use
    std::optional<ProxyServer> firstProxy_;
    std::shared_ptr<HttpConnectionPool> pool_;
    CURL* handle_ = nullptr;
    curl_slist* headers_ = nullptr;
    bool running_ = false;
    bool hasLocation_ = false;
    bool certificatesNoted_ = false;
    size_t headerBytes_ = 0;
    size_t skippedBytes_ = 0;
    int redirects_ = 0;
    std::optional<HttpResponse> response_;
};

}  // namespace platform
