#include "platform/net/HttpTransfer.h"

#include <fmt/format.h>
#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "platform/BundleInfo.h"
#include "platform/Report.h"
#include "platform/Text.h"

namespace platform {
namespace {

constexpr size_t kHeaderLimit = size_t{256} * 1024;
constexpr size_t kSkippedBodyLimit = size_t{1024} * 1024;
constexpr int kRedirectLimit = 20;
constexpr long kSendBufferSize = 512L * 1024;
constexpr int kTunnelRefused = 407;
constexpr char kProtocols[] = "http,https";

struct UrlParts {
    bool isHttps = false;
    std::string host;  ///< an IPv6 address without brackets
    int32_t port = 0;
};

std::string partOf(CURLU* url, CURLUPart part, unsigned flags = 0) {
    char* text = nullptr;
    if (curl_url_get(url, part, &text, flags) != CURLUE_OK)
        return {};
    std::string copy = text;
    curl_free(text);
    return copy;
}

std::optional<UrlParts> partsOf(const std::string& text) {
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), &curl_url_cleanup);
    if (!url || curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK)
        return std::nullopt;
    const std::string scheme = partOf(url.get(), CURLUPART_SCHEME);
    UrlParts parts{scheme == "https", partOf(url.get(), CURLUPART_HOST), 0};
    if ((scheme != "http" && scheme != "https") || parts.host.empty())
        return std::nullopt;
    parts.port = static_cast<int32_t>(
        std::strtol(partOf(url.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT).c_str(), nullptr, 10));
    if (parts.host.front() == '[' && parts.host.back() == ']')
        parts.host = parts.host.substr(1, parts.host.size() - 2);
    return parts;
}

// What is set up from the answer of a script: a host and a port under the https entry, nothing else.
bool servesEveryScheme(const ProxySettings& settings) {
    return !settings.http.enabled && settings.http.host.empty() && !settings.https.enabled &&
           !settings.autoConfigEnabled && settings.exceptions.empty();
}

// Not enabled for none.
ProxyServer proxyFor(const std::optional<ProxySettings>& settings, const UrlParts& url) {
    if (!settings)
        return {};
    const bool every = servesEveryScheme(*settings);
    const ProxyServer& server = url.isHttps || every ? settings->https : settings->http;
    if (server.host.empty() || (!every && !server.enabled) || isProxyException(*settings, url.host, url.port))
        return {};
    ProxyServer chosen = server;
    chosen.enabled = true;
    return chosen;
}

bool isSocks(ProxyKind kind) {
    return kind != ProxyKind::http && kind != ProxyKind::https;
}

// The form in which curl takes it, with look-ups by the proxy; "" for none.
std::string addressOf(const ProxyServer& proxy) {
    struct Kind {
        const char* scheme;
        int32_t port;
    };
    static const Kind kinds[] = {
        {"http", 80}, {"https", 443}, {"socks5h", 1080}, {"socks4a", 1080}, {"socks5h", 1080}};
    if (!proxy.enabled)
        return {};
    const Kind& kind = kinds[static_cast<size_t>(proxy.kind)];
    const bool isIpv6 = proxy.host.find(':') != std::string::npos && proxy.host.front() != '[';
    return fmt::format("{}://{}:{}", kind.scheme, isIpv6 ? "[" + proxy.host + "]" : proxy.host,
                       proxy.port > 0 ? proxy.port : kind.port);
}

struct Way {
    HttpAuth ours;
    unsigned long curls;
};
constexpr Way kWays[] = {{kHttpAuthBasic, CURLAUTH_BASIC},
                         {kHttpAuthDigest, CURLAUTH_DIGEST},
                         {kHttpAuthNtlm, CURLAUTH_NTLM},
                         {kHttpAuthNegotiate, CURLAUTH_NEGOTIATE}};

unsigned waysThatCurlHas() {
    const int features = curl_version_info(CURLVERSION_NOW)->features;
    return kHttpAuthBasic | kHttpAuthDigest |
           ((features & CURL_VERSION_NTLM) != 0 ? unsigned{kHttpAuthNtlm} : 0U) |
           ((features & CURL_VERSION_SPNEGO) != 0 ? unsigned{kHttpAuthNegotiate} : 0U);
}

bool isPlainHeader(const std::string& name, const std::string& value) {
    const auto breaksLine = [](char c) { return c == '\r' || c == '\n' || c == '\0'; };
    return !name.empty() && name.find(':') == std::string::npos &&
           std::none_of(name.begin(), name.end(), breaksLine) &&
           std::none_of(value.begin(), value.end(), breaksLine);
}

void append(curl_slist*& list, const std::string& line) {
    if (curl_slist* const longer = curl_slist_append(list, line.c_str()))
        list = longer;
}

}  // namespace

HttpTransfer::HttpTransfer(Options options, Listener& listener)
    : options_(std::move(options)),
      listener_(listener),
      url_(options_.request.url),
      method_(options_.request.method) {}

HttpTransfer::~HttpTransfer() {
    if (running_)
        pool_->remove(handle_);
    curl_easy_cleanup(handle_);
    curl_slist_free_all(headers_);
}

CURLcode HttpTransfer::start() {
    pool_ = HttpConnectionPool::current();
    handle_ = pool_ ? curl_easy_init() : nullptr;
    if (!handle_)
        return CURLE_FAILED_INIT;
    const CURLcode result = setUp();
    return result == CURLE_OK ? begin() : result;
}

// The options that stay over all redirects.
CURLcode HttpTransfer::setUp() {
    const long verify = options_.laxCertificates ? 0 : 1;
    const long verifyProxy = options_.laxProxyCertificates ? 0 : 1;
    static const std::string kUserAgent = "orvanedga/" + BundleInfo::shortVersion();
    curl_easy_setopt(handle_, CURLOPT_PRIVATE, static_cast<HttpConnectionPool::Transfer*>(this));
    curl_easy_setopt(handle_, CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
    curl_easy_setopt(handle_, CURLOPT_NOSIGNAL, 1L);
    // A name that is still being looked up must not hold up the end of the transfer.
    curl_easy_setopt(handle_, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(handle_, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(handle_, CURLOPT_HEADEROPT, long{CURLHEADER_SEPARATE});
    curl_easy_setopt(handle_, CURLOPT_UPLOAD_BUFFERSIZE, kSendBufferSize);
    curl_easy_setopt(handle_, CURLOPT_SSL_VERIFYPEER, verify);
    curl_easy_setopt(handle_, CURLOPT_SSL_VERIFYHOST, 2 * verify);
    curl_easy_setopt(handle_, CURLOPT_PROXY_SSL_VERIFYPEER, verifyProxy);
    curl_easy_setopt(handle_, CURLOPT_PROXY_SSL_VERIFYHOST, 2 * verifyProxy);
    curl_easy_setopt(handle_, CURLOPT_FRESH_CONNECT, options_.request.onceOnly ? 1L : 0L);
    curl_easy_setopt(handle_, CURLOPT_FORBID_REUSE, options_.request.onceOnly ? 1L : 0L);
    curl_easy_setopt(handle_, CURLOPT_USERAGENT, kUserAgent.c_str());
    if (options_.request.connectTime.count() > 0)
        curl_easy_setopt(handle_, CURLOPT_CONNECTTIMEOUT_MS,
                         static_cast<long>(options_.request.connectTime.count()));
    curl_easy_setopt(handle_, CURLOPT_HEADERFUNCTION, &onHeader);
    curl_easy_setopt(handle_, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(handle_, CURLOPT_WRITEFUNCTION, &onBody);
    curl_easy_setopt(handle_, CURLOPT_WRITEDATA, this);
    // Our own proxies only: empty values keep curl from reading the environment.
    curl_easy_setopt(handle_, CURLOPT_NOPROXY, "");
    return curl_easy_setopt(handle_, CURLOPT_PROTOCOLS_STR, kProtocols);
}

CURLcode HttpTransfer::setUpUrl() {
    const auto parts = partsOf(url_);
    if (!parts)
        return CURLE_UNSUPPORTED_PROTOCOL;
    if (options_.allowsHost && !options_.allowsHost(parts->host)) {
        reportWarning(fmt::format("{} is not asked: it is no host that may be asked", parts->host));
        return CURLE_REMOTE_ACCESS_DENIED;
    }
    proxy_ = proxyFor(options_.proxy, *parts);
    setUpProxy();
    return curl_easy_setopt(handle_, CURLOPT_URL, url_.c_str());
}

void HttpTransfer::setUpProxy() {
    const std::string address = addressOf(proxy_);
    if (!firstProxy_)
        firstProxy_ = proxy_;
    // SOCKS asks while it connects, so that its user is the one of the settings.
    std::string user = proxy_.user;
    std::string password = proxy_.password;
    HttpAuth auth = kHttpAuthBasic;
    if (!isSocks(proxy_.kind)) {
        const bool isFirst = address == addressOf(*firstProxy_);
        user = isFirst ? options_.request.proxyUser : std::string();
        password = isFirst ? options_.request.proxyPassword : std::string();
        auth = isFirst ? options_.request.proxyAuth : kHttpAuthBasic;
    }
    unsigned long curls = 0;
    for (const auto& way : kWays)
        curls |= (auth & way.ours) != 0 ? way.curls : 0;
    const bool isNobody = user.empty() && auth != kHttpAuthNegotiate;
    curl_easy_setopt(handle_, CURLOPT_PROXY, address.c_str());
    curl_easy_setopt(handle_, CURLOPT_PROXYAUTH, curls);
    curl_easy_setopt(handle_, CURLOPT_PROXYUSERNAME, isNobody ? nullptr : user.c_str());
    curl_easy_setopt(handle_, CURLOPT_PROXYPASSWORD, isNobody ? nullptr : password.c_str());
}

void HttpTransfer::setUpRequest() {
    const bool isPost = method_ == "POST";
    if (isPost) {
        static const std::string kNothing;
        const std::string& body = options_.request.body ? *options_.request.body : kNothing;
        curl_easy_setopt(handle_, CURLOPT_POST, 1L);
        curl_easy_setopt(handle_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        curl_easy_setopt(handle_, CURLOPT_POSTFIELDS, body.data());
    } else {
        curl_easy_setopt(handle_, CURLOPT_HTTPGET, 1L);
    }
    curl_slist_free_all(std::exchange(headers_, nullptr));
    append(headers_, "Expect:");
    bool namesType = false;
    for (const auto& [name, value] : options_.request.headers) {
        const bool isType = strcasecmp(name.c_str(), "Content-Type") == 0;
        const bool isBodys = isType || strcasecmp(name.c_str(), "Content-Length") == 0;
        if (!isPlainHeader(name, value) || (isBodys && !isPost))
            continue;
        namesType = namesType || isType;
        append(headers_, value.empty() ? fmt::format("{};", name) : fmt::format("{}: {}", name, value));
    }
    if (!namesType)
        append(headers_, "Content-Type:");  // curl would call every body a form
    curl_easy_setopt(handle_, CURLOPT_HTTPHEADER, headers_);
}

CURLcode HttpTransfer::begin() {
    if (const CURLcode result = setUpUrl(); result != CURLE_OK)
        return result;
    setUpRequest();
    hasLocation_ = false;
    certificatesNoted_ = false;
    headerBytes_ = 0;
    skippedBytes_ = 0;
    running_ = pool_->add(handle_);
    return running_ ? CURLE_OK : CURLE_FAILED_INIT;
}

void HttpTransfer::resume() {
    if (running_)
        curl_easy_pause(handle_, CURLPAUSE_CONT);
}

long HttpTransfer::status() const {
    long status = 0;
    curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &status);
    return status;
}

bool HttpTransfer::isRedirect() const {
    if (!options_.followRedirects || !hasLocation_)
        return false;
    const long code = status();
    return (code >= 301 && code <= 303) || code == 307 || code == 308;
}

size_t HttpTransfer::onHeader(const char* bytes, size_t size, size_t count, void* user) {
    auto* const self = static_cast<HttpTransfer*>(user);
    const std::string_view line(bytes, size * count);
    self->noteCertificates();
    if (line.starts_with("HTTP/"))
        self->hasLocation_ = false;  // an interim reply came before
    if (line.size() > 9 && strncasecmp(bytes, "Location:", 9) == 0)
        self->hasLocation_ = true;
    self->headerBytes_ += line.size();
    return self->headerBytes_ > kHeaderLimit ? 0 : line.size();
}

size_t HttpTransfer::onBody(const char* bytes, size_t size, size_t count, void* user) {
    auto* const self = static_cast<HttpTransfer*>(user);
    const size_t length = size * count;
    if (self->isRedirect()) {
        self->skippedBytes_ += length;
        return self->skippedBytes_ > kSkippedBodyLimit ? 0 : length;
    }
    if (!self->response_)
        self->response_ = self->responseWith(static_cast<int>(self->status()));
    return self->listener_.takeBody({bytes, length}) ? length : CURL_WRITEFUNC_PAUSE;
}

void HttpTransfer::transferEnded(CURLcode result) {
    running_ = false;
    if (result == CURLE_OK && isRedirect()) {
        if (const auto failure = followRedirect())
            listener_.ended(*failure);
        return;
    }
    // It had no use for version 5.
    if (result == CURLE_PROXY && proxy_.kind == ProxyKind::socks) {
        proxy_.kind = ProxyKind::socks4;
        setUpProxy();
        running_ = pool_->add(handle_);
        if (running_)
            return;
    }
    long tunnel = 0;
    curl_easy_getinfo(handle_, CURLINFO_HTTP_CONNECTCODE, &tunnel);
    if (result == CURLE_OK && !response_) {
        response_ = responseWith(static_cast<int>(status()));
    } else if (result != CURLE_OK && !response_ && tunnel == kTunnelRefused) {
        response_ = responseWith(kTunnelRefused);
        result = CURLE_OK;
    }
    listener_.ended(result);
}

std::optional<CURLcode> HttpTransfer::followRedirect() {
    if (++redirects_ > kRedirectLimit)
        return CURLE_TOO_MANY_REDIRECTS;
    const char* target = nullptr;
    curl_easy_getinfo(handle_, CURLINFO_REDIRECT_URL, &target);
    if (!target)
        return CURLE_URL_MALFORMAT;
    if (method_ == "POST" && !mayTakeBodyTo(target))
        return CURLE_HTTP_POST_ERROR;
    url_ = target;
    const CURLcode result = begin();
    return result == CURLE_OK ? std::nullopt : std::optional(result);
}

bool HttpTransfer::mayTakeBodyTo(const std::string& target) const {
    const auto from = partsOf(url_);
    const auto to = partsOf(target);
    return status() >= 307 && from && to && lowerCase(from->host) == lowerCase(to->host) &&
           (to->isHttps || !from->isHttps);
}

HttpResponse HttpTransfer::responseWith(int status) const {
    HttpResponse response{status, url_, proxy_};
    long curls = 0;
    curl_easy_getinfo(handle_, CURLINFO_PROXYAUTH_AVAIL, &curls);
    for (const auto& way : kWays)
        response.proxyAuths |= (static_cast<unsigned long>(curls) & way.curls) != 0 ? unsigned{way.ours} : 0U;
    response.proxyAuths &= waysThatCurlHas();
    curl_off_t seconds = 0;
    if (curl_easy_getinfo(handle_, CURLINFO_RETRY_AFTER, &seconds) == CURLE_OK)
        response.retryAfter = static_cast<long>(seconds);
    return response;
}

bool HttpTransfer::neverSent() const {
    curl_off_t sent = 0;
    long tunnel = 0;
    curl_easy_getinfo(handle_, CURLINFO_PRETRANSFER_TIME_T, &sent);
    curl_easy_getinfo(handle_, CURLINFO_HTTP_CONNECTCODE, &tunnel);
    return redirects_ == 0 && sent == 0 && tunnel == 0;
}

// Once for a connection: of one that is used again curl has no result.
void HttpTransfer::noteCertificates() {
    if (std::exchange(certificatesNoted_, true))
        return;
    long server = 0;
    long proxy = 0;
    curl_easy_getinfo(handle_, CURLINFO_SSL_VERIFYRESULT, &server);
    curl_easy_getinfo(handle_, CURLINFO_PROXY_SSL_VERIFYRESULT, &proxy);
    const auto parts = partsOf(url_);
    if (server != 0 && parts)
        reportWarning(
            fmt::format("the certificate of {}:{} does not verify (X509_V_ERR {}); it is used all the same",
                        parts->host, parts->port, server));
    if (proxy != 0)
        reportWarning(fmt::format(
            "the certificate of the proxy {} does not verify (X509_V_ERR {}); it is used all the same",
            proxy_.host, proxy));
}

}  // namespace platform
