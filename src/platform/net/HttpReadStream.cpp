#include "platform/net/HttpReadStream.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "platform/RunLoop.h"
#include "platform/net/HttpTransfer.h"

namespace platform {
namespace {

constexpr size_t kBufferLimit = size_t{256} * 1024;
constexpr int kCurlDomain = 1;
constexpr std::chrono::hours kNever{1};

HttpReadStream::Error errorOf(CURLcode code, bool neverSent) {
    return {kCurlDomain, code, neverSent, code == CURLE_PEER_FAILED_VERIFICATION,
            code == CURLE_REMOTE_ACCESS_DENIED};
}

}  // namespace

// Outlives the stream while its client is being called.
struct HttpReadStream::State final : HttpTransfer::Listener, std::enable_shared_from_this<State> {
    HttpTransfer::Options options;
    Client client;
    std::unique_ptr<HttpTransfer> transfer;
    std::unique_ptr<Timer> wake;  // makes the run loop call deliver()
    std::string buffer;
    size_t taken = 0;
    Error error;
    bool opened = false;
    bool delivering = false;
    bool resting = false;
    bool told = false;      // openCompleted
    bool bytesDue = false;  // hasBytesAvailable
    bool hasEnded = false;  // errorOccurred or endEncountered
    bool endWasTold = false;

    size_t available() const { return buffer.size() - taken; }

    bool takeBody(std::string_view bytes) override {
        if (available() != 0 && available() + bytes.size() > kBufferLimit) {
            resting = true;
            return false;
        }
        buffer.append(bytes);
        bytesDue = true;
        wake->fireNow();
        return true;
    }

    void ended(CURLcode result) override {
        hasEnded = true;
        if (result != CURLE_OK)
            error = errorOf(result, transfer->neverSent());
        else if (const int status = transfer->response()->status; status / 100 == 4 && !told)
            bytesDue = true;
        wake->fireNow();
    }

    std::optional<Event> nextEvent() {
        if (!told && (bytesDue || (hasEnded && error.code == 0))) {
            told = true;
            return Event::openCompleted;
        }
        if (std::exchange(bytesDue, false))
            return Event::hasBytesAvailable;
        if (!hasEnded || endWasTold || (error.code == 0 && available() != 0))
            return std::nullopt;
        endWasTold = true;
        return error.code != 0 ? Event::errorOccurred : Event::endEncountered;
    }

    void deliver() {
        wake->pause();
        if (delivering)
            return;  // in a run loop that the client runs; its own call goes on with what is due
        const auto self = shared_from_this();
        delivering = true;
        while (const auto event = nextEvent()) {
            if (const Client called = client)
                called(*event);
            if (!transfer)
                return;
        }
        delivering = false;
        if (resting && available() == 0) {
            resting = false;
            transfer->resume();
        }
    }

    void close() {
        transfer.reset();
        wake.reset();
        client = nullptr;
        buffer.clear();
        taken = 0;
    }
};

HttpReadStream::HttpReadStream(HttpRequest request) : state_(std::make_shared<State>()) {
    state_->options.request = std::move(request);
}

HttpReadStream::~HttpReadStream() {
    close();
}

void HttpReadStream::setProxy(ProxySettings settings) {
    state_->options.proxy = std::move(settings);
}

void HttpReadStream::setAutomaticRedirection(bool follow) {
    state_->options.followRedirects = follow;
}

void HttpReadStream::setLaxCertificates(bool lax, bool laxForProxy) {
    state_->options.laxCertificates = lax;
    state_->options.laxProxyCertificates = laxForProxy;
}

void HttpReadStream::setHostRule(std::function<bool(const std::string& host)> allows) {
    state_->options.allowsHost = std::move(allows);
}

bool HttpReadStream::setClient(Client client) {
    if (state_->opened)
        return false;
    state_->client = std::move(client);
    return true;
}

bool HttpReadStream::open() {
    if (std::exchange(state_->opened, true))
        return false;
    const std::weak_ptr<State> weak = state_;
    state_->wake = std::make_unique<Timer>(RunLoop::current(), kNever, true, [weak] {
        if (const auto state = weak.lock())
            state->deliver();
    });
    state_->wake->pause();
    state_->transfer = std::make_unique<HttpTransfer>(state_->options, *state_);
    const CURLcode result = state_->transfer->start();
    if (result == CURLE_OK)
        return true;
    state_->error = errorOf(result, true);
    close();
    return false;
}

void HttpReadStream::close() {
    state_->close();
}

std::ptrdiff_t HttpReadStream::read(void* bytes, size_t size) {
    const size_t count = std::min(size, state_->available());
    if (count == 0)
        return state_->error.code != 0 ? -1 : 0;
    std::memcpy(bytes, state_->buffer.data() + state_->taken, count);
    state_->taken += count;
    if (state_->available() == 0) {
        state_->buffer.clear();
        state_->taken = 0;
    }
    // What is left is told again; a connection that rests is woken by deliver().
    state_->bytesDue = state_->available() != 0;
    if (state_->wake)
        state_->wake->fireNow();
    return static_cast<std::ptrdiff_t>(count);
}

bool HttpReadStream::hasBytesAvailable() const {
    return state_->available() != 0;
}

std::optional<HttpResponse> HttpReadStream::response() const {
    return state_->transfer ? state_->transfer->response() : std::nullopt;
}

HttpReadStream::Error HttpReadStream::error() const {
    return state_->error;
}

}  // namespace platform
