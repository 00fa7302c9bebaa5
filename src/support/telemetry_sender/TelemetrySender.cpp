#include "support/telemetry_sender/TelemetrySender.h"

#include <curl/curl.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

extern "C" __attribute__((visibility("default"))) OrvTelemetrySenderEntry orvTelemetrySender;

namespace {

constexpr size_t kLongestAnswer = 65536;

struct FreeList {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using List = std::unique_ptr<curl_slist, FreeList>;

struct Call {
    const OrvTelemetryRequest* request;
    size_t received = 0;
};

// Nobody reads the answer's body.
size_t onBody(char* /*data*/, size_t size, size_t count, void* call) {
    size_t& received = static_cast<Call*>(call)->received;
    received += size * count;
    return received <= kLongestAnswer ? size * count : 0;
}

int onProgress(void* call, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    const OrvTelemetryRequest& request = *static_cast<Call*>(call)->request;
    return request.keepGoing(request.context) == 0 ? 1 : 0;
}

std::string part(CURLU* url, CURLUPart which) {
    char* text = nullptr;
    std::string copy;
    if (curl_url_get(url, which, &text, CURLU_DEFAULT_PORT) == CURLUE_OK && text)
        copy = text;
    curl_free(text);
    return copy;
}

extern "C" int addressOf(const char* text, OrvTelemetryAddress* address) {
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), &curl_url_cleanup);
    if (!url || curl_url_set(url.get(), CURLUPART_URL, text, 0) != CURLUE_OK)
        return 0;
    const std::string scheme = part(url.get(), CURLUPART_SCHEME);
    std::string host = part(url.get(), CURLUPART_HOST);
    if (host.size() > 2 && host.front() == '[')
        host = host.substr(1, host.size() - 2);
    if ((scheme != "http" && scheme != "https") || host.empty() || host.size() >= sizeof(address->host))
        return 0;
    address->isHttps = scheme == "https" ? 1 : 0;
    std::memcpy(static_cast<char*>(address->host), host.c_str(), host.size() + 1);
    address->port = std::atoi(part(url.get(), CURLUPART_PORT).c_str());
    return 1;
}

List headersOf(const OrvTelemetryRequest& request) {
    // No "Expect": it would cost a round trip, or a second with a server that does not know it.
    List list(curl_slist_append(nullptr, "Expect:"));
    for (int i = 0; list && i < request.headerCount; ++i) {
        curl_slist* const longer = curl_slist_append(list.get(), request.headers[i]);
        if (!longer)
            return nullptr;
        static_cast<void>(list.release());
        list.reset(longer);
    }
    return list;
}

void prepare(CURL* curl, Call& call, curl_slist* headers) {
    const OrvTelemetryRequest& request = *call.request;
    curl_easy_setopt(curl, CURLOPT_URL, request.url);
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
    // A kept connection would let libcurl send a request again that the server may have had.
    curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(curl, CURLOPT_PROXY, request.proxy);
    curl_easy_setopt(curl, CURLOPT_NOPROXY, "");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, request.connectMilliseconds);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, request.totalMilliseconds);
    curl_easy_setopt(curl, CURLOPT_POST, 1L);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, request.bodyLength);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &onBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &call);
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, &onProgress);
    curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &call);
}

void read(CURL* curl, CURLcode code, OrvTelemetryAnswer& answer) {
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &answer.status);
    // An interim answer is none.
    if (answer.status < 200)
        answer.status = 0;
    curl_off_t value = 0;
    if (curl_easy_getinfo(curl, CURLINFO_RETRY_AFTER, &value) == CURLE_OK)
        answer.retryAfter = static_cast<long>(value);
    // Set once the connection, with its proxy and its encryption, stands and the request is about to leave.
    value = 0;
    curl_easy_getinfo(curl, CURLINFO_PRETRANSFER_TIME_T, &value);
    answer.mayHaveArrived = value != 0 || answer.status != 0 ? 1 : 0;
    if (code != CURLE_OK && answer.status == 0)
        std::snprintf(static_cast<char*>(answer.fault), sizeof(answer.fault), "%s", curl_easy_strerror(code));
    else if (answer.status == 0)
        std::snprintf(static_cast<char*>(answer.fault), sizeof(answer.fault), "no answer");
}

extern "C" void send(const OrvTelemetryRequest* request, OrvTelemetryAnswer* answer) {
    static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
    *answer = OrvTelemetryAnswer();
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), &curl_easy_cleanup);
    const List headers = headersOf(*request);
    if (ready != CURLE_OK || !curl || !headers) {
        std::snprintf(static_cast<char*>(answer->fault), sizeof(answer->fault), "libcurl does not start");
        return;
    }
    Call call{request};
    prepare(curl.get(), call, headers.get());
    read(curl.get(), curl_easy_perform(curl.get()), *answer);
}

}  // namespace

const OrvTelemetrySender* orvTelemetrySender(int version) {
    static const OrvTelemetrySender sender{&addressOf, &send};
    return version == kOrvTelemetrySenderVersion ? &sender : nullptr;
}
