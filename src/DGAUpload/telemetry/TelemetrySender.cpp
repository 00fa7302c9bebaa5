#include "support/telemetry_sender/TelemetrySender.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "DGAUpload/logic/webaccess/PacParser.h"
#include "DGAUpload/logic/webaccess/ProxyMemory.h"
#include "platform/RunLoop.h"
#include "platform/Text.h"
#include "platform/net/HttpReadStream.h"

extern "C" __attribute__((visibility("default"))) OrvTelemetrySenderEntry orvTelemetrySender;

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Way = std::optional<platform::ProxySettings>;

constexpr size_t kLongestAnswer = 65536;
constexpr int kMostAttempts = 5;
constexpr int kProxyWantsToKnow = 407;
constexpr std::chrono::milliseconds kStep = 200ms;

/// One request by one way to its end, on this thread's loop.
struct Attempt {
    std::optional<platform::HttpResponse> response;
    platform::HttpReadStream::Error error;
    bool ended = false;
    size_t received = 0;

    void note(platform::HttpReadStream& stream, platform::HttpReadStream::Event event) {
        using Event = platform::HttpReadStream::Event;
        std::array<char, 4096> unread;
        while (event == Event::hasBytesAvailable) {
            const auto count = stream.read(unread.data(), unread.size());
            if (count <= 0)
                break;
            received += static_cast<size_t>(count);
        }
        response = stream.response();
        error = stream.error();
        ended = event == Event::endEncountered || event == Event::errorOccurred || received > kLongestAnswer;
        if (ended)
            platform::RunLoop::current().stop();
    }
};

class Post {
public:
    explicit Post(const OrvTelemetryRequest& request)
        : request_(request), end_(Clock::now() + std::chrono::milliseconds(request.totalMilliseconds)) {}

    OrvTelemetryAnswer send() {
        OrvTelemetryAnswer answer{};
        const auto ways = waysTo(request_.url);
        size_t way = 0;
        std::optional<ProxyMemory::Login> login;
        for (int attempts = 0; attempts < kMostAttempts; ++attempts) {
            const Attempt made = attempt(ways[way], login);
            answer = answerOf(made);
            if (made.error.neverSent && way + 1 < ways.size()) {
                ++way;
                login.reset();
            } else if (answer.status == kProxyWantsToKnow && made.response->proxy.enabled) {
                login = loginFor(*made.response);
                if (!login)
                    break;
            } else {
                break;
            }
        }
        return answer;
    }

private:
    // A script is asked on the main thread.
    static std::vector<Way> waysTo(const std::string& url) {
        const auto settings = platform::copySystemProxySettings();
        if (!settings || !settings->autoConfigEnabled)
            return {settings};
        std::vector<Way> ways;
        platform::performOnMainAndWait([&] {
            if (!CPacParser::IsPacEnabled())
                return;
            for (const auto& route : CPacParser::sharedInstance()->FindRoutes(url.c_str())) {
                platform::ProxySettings only;
                only.https = {.enabled = false, .host = route.host, .port = route.port, .kind = route.kind};
                ways.push_back(route.host.empty() ? Way() : Way(only));
            }
        });
        if (ways.empty())
            ways.emplace_back();
        return ways;
    }

    Attempt attempt(const Way& way, const std::optional<ProxyMemory::Login>& login) {
        platform::HttpRequest post{"POST", request_.url, {}, nullptr, "", ""};
        post.body =
            std::make_shared<const std::string>(request_.body, static_cast<size_t>(request_.bodyLength));
        for (int i = 0; i < request_.headerCount; ++i) {
            const std::string_view line = request_.headers[i];
            const size_t mark = std::min(line.find_first_of(":;"), line.size());
            post.headers.emplace_back(line.substr(0, mark),
                                      platform::trimmed(line.substr(std::min(mark + 1, line.size()))));
        }
        post.connectTime = std::chrono::milliseconds(request_.connectMilliseconds);
        post.onceOnly = true;
        if (login) {
            post.proxyUser = login->user;
            post.proxyPassword = login->password;
            post.proxyAuth = login->auth;
        }
        Attempt made;
        platform::HttpReadStream stream(std::move(post));
        stream.setLaxCertificates(false, request_.verifyProxies == 0);
        if (way)
            stream.setProxy(*way);
        stream.setClient([&](auto event) { made.note(stream, event); });
        if (!stream.open())
            return {.response = {}, .error = stream.error(), .ended = true, .received = 0};
        serveUntil([&] { return made.ended; });
        return made;
    }

    std::optional<ProxyMemory::Login> loginFor(const platform::HttpResponse& response) {
        bool known = false;
        std::optional<ProxyMemory::Login> login;
        proxies_->nextLogin(response.proxy, response.proxyAuths, [&](const auto& found) {
            login = found;
            known = true;
            platform::RunLoop::current().stop();
        });
        // Not given up: the keyring answers on this loop, soon or never.
        while (!known)
            platform::RunLoop::current().runFor(kStep);
        return isPast() ? std::nullopt : login;
    }

    template <typename Condition>
    void serveUntil(const Condition& ended) {
        while (!ended() && !isPast())
            platform::RunLoop::current().runFor(kStep);
    }

    bool isPast() const { return Clock::now() >= end_ || request_.keepGoing(request_.context) == 0; }

    static OrvTelemetryAnswer answerOf(const Attempt& made) {
        OrvTelemetryAnswer answer{};
        if (made.response) {
            answer.status = made.response->status;
            answer.retryAfter = made.response->retryAfter;
        }
        answer.mayHaveArrived = made.error.neverSent ? 0 : 1;
        if (answer.status == 0)
            std::snprintf(static_cast<char*>(answer.fault), sizeof(answer.fault), "%s",
                          made.error.code != 0 ? ("curl's error " + std::to_string(made.error.code)).c_str()
                                               : "no answer in time");
        return answer;
    }

    const OrvTelemetryRequest& request_;
    Clock::time_point end_;
    std::shared_ptr<ProxyMemory> proxies_ = std::make_shared<ProxyMemory>();
};

extern "C" void sendRequest(const OrvTelemetryRequest* request, OrvTelemetryAnswer* answer) {
    *answer = Post(*request).send();
}

}  // namespace

const OrvTelemetrySender* orvTelemetrySender(int version) {
    static const OrvTelemetrySender sender{&sendRequest};
    return version == kOrvTelemetrySenderVersion ? &sender : nullptr;
}
