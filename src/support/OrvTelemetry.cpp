#include "support/OrvTelemetry.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include "platform/LoadableModule.h"
#include "platform/Text.h"
#include "support/ORVNLogger.h"
#include "support/OrvTelemetryMessage.h"
#include "support/telemetry_sender/TelemetrySender.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using support::TelemetryAction;

constexpr size_t kMostWaiting = 1000;
constexpr size_t kMostInOneRequest = 200;
constexpr size_t kMostHeaders = 64;
constexpr std::chrono::milliseconds kConnectTime = 5s;
constexpr std::chrono::milliseconds kRequestTime = 15s;
constexpr std::chrono::seconds kRetryPause{1};
constexpr std::chrono::seconds kLongestRetryPause{30};
constexpr std::chrono::seconds kCloseTime{2};

using Send = std::function<void(const OrvTelemetryRequest&, OrvTelemetryAnswer&)>;

Send& givenSender() {
    static auto* const send = new Send();
    return *send;
}

// Empty if the module is missing or of another version.
Send loadSender() {
    const auto module = platform::LoadableModule::open(kOrvTelemetrySenderModule);
    auto* const entry =
        module ? module->function<OrvTelemetrySenderEntry>(kOrvTelemetrySenderEntry) : nullptr;
    const OrvTelemetrySender* const sender = entry ? entry(kOrvTelemetrySenderVersion) : nullptr;
    if (!sender)
        return nullptr;
    return [sender](const OrvTelemetryRequest& request, OrvTelemetryAnswer& answer) {
        sender->send(&request, &answer);
    };
}

bool isWebAddress(const std::string& address) {
    const std::string lower = platform::lowerCase(address);
    return lower.starts_with("http://") || lower.starts_with("https://");
}

bool isAccepted(const OrvTelemetryAnswer& answer) {
    return answer.status >= 200 && answer.status < 300;
}

bool mayBeSentAgain(const OrvTelemetryAnswer& answer) {
    if (answer.status == 0)
        return answer.mayHaveArrived == 0;
    return answer.status == 429 || (answer.status >= 502 && answer.status <= 504);
}

std::string outcomeOf(const OrvTelemetryAnswer& answer) {
    return answer.status != 0 ? "HTTP status " + std::to_string(answer.status)
                              : std::string(static_cast<const char*>(answer.fault));
}

/// The actions of one session and the thread that sends them while there are any.
class Session : public std::enable_shared_from_this<Session> {
public:
    Session(std::string address, std::optional<std::string> trackingID, std::vector<std::string> headers)
        : address_(std::move(address)), trackingID_(std::move(trackingID)), headers_(std::move(headers)) {}

    void add(int actionID) {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        const std::lock_guard<std::mutex> hold(mutex_);
        waiting_.push_back({actionID, std::chrono::duration_cast<std::chrono::nanoseconds>(now).count()});
        if (waiting_.size() <= kMostWaiting)
            return;
        waiting_.pop_front();
        if (!std::exchange(dropping_, true))
            logWarning("OrvTelemetry, too many actions wait, the oldest are dropped");
    }

    void flush() {
        const std::lock_guard<std::mutex> hold(mutex_);
        startSending();
    }

    void close() {
        std::unique_lock<std::mutex> hold(mutex_);
        end_ = Clock::now() + kCloseTime;
        startSending();
        changed_.notify_all();
        changed_.wait_until(hold, *end_, [this] { return !sending_; });
        if (sending_)
            logNotice("OrvTelemetry, the end does not wait for the service any longer");
    }

private:
    // With the lock held.
    void startSending() {
        if (sending_ || waiting_.empty())
            return;
        try {
            std::thread([self = shared_from_this()] { self->send(); }).detach();
            sending_ = true;
        } catch (const std::system_error& error) {
            logWarning("OrvTelemetry, no thread to send with: {}", error.what());
        }
    }

    // Until nothing is left, or the end has come.
    void send() {
        pthread_setname_np(pthread_self(), "telemetry");
        static const Send sender = givenSender() ? givenSender() : loadSender();
        for (auto actions = take(); !actions.empty(); actions = take()) {
            if (sender)
                deliver(sender, actions);
        }
    }

    std::vector<TelemetryAction> take() {
        const std::lock_guard<std::mutex> hold(mutex_);
        const size_t count = isPast() ? 0 : std::min(waiting_.size(), kMostInOneRequest);
        const auto last = waiting_.begin() + static_cast<std::ptrdiff_t>(count);
        std::vector<TelemetryAction> taken(waiting_.begin(), last);
        waiting_.erase(waiting_.begin(), last);
        if (taken.empty()) {
            sending_ = false;
            dropping_ = false;
            changed_.notify_all();
        }
        return taken;
    }

    void deliver(const Send& sender, const std::vector<TelemetryAction>& actions) {
        const std::string body = support::telemetryMessage(actions, trackingID_);
        OrvTelemetryAnswer answer = post(sender, body);
        if (!isAccepted(answer) && mayBeSentAgain(answer) && waitToRetry(answer.retryAfter))
            answer = post(sender, body);
        if (!isAccepted(answer))
            logWarning("OrvTelemetry, {} action(s) not sent: {}", actions.size(), outcomeOf(answer));
    }

    OrvTelemetryAnswer post(const Send& sender, const std::string& body) {
        OrvTelemetryAnswer answer{};
        if (!isWebAddress(address_)) {
            // Sending it again would not help.
            answer.mayHaveArrived = 1;
            std::string_view("not an address of http or https")
                .copy(static_cast<char*>(answer.fault), sizeof(answer.fault) - 1);
            return answer;
        }
        std::vector<const char*> headers{"Content-Type: application/json"};
        for (const auto& header : headers_)
            headers.push_back(header.c_str());
        const OrvTelemetryRequest request{.url = address_.c_str(),
                                          .headers = headers.data(),
                                          .headerCount = static_cast<int>(headers.size()),
                                          .body = body.data(),
                                          .bodyLength = static_cast<long>(body.size()),
                                          .connectMilliseconds = kConnectTime.count(),
                                          .totalMilliseconds = kRequestTime.count(),
                                          .verifyProxies = 0,
                                          .keepGoing = &Session::keepGoing,
                                          .context = this};
        sender(request, answer);
        return answer;
    }

    // False if that would be too long, or beyond the end.
    bool waitToRetry(long askedFor) {
        const auto pause = askedFor > 0 ? std::chrono::seconds(askedFor) : kRetryPause;
        if (pause > kLongestRetryPause)
            return false;
        const auto due = Clock::now() + pause;
        const auto isTooLate = [this, due] { return end_ && *end_ <= due; };
        std::unique_lock<std::mutex> hold(mutex_);
        changed_.wait_until(hold, due, isTooLate);
        return !isTooLate();
    }

    static int keepGoing(void* session) {
        auto& self = *static_cast<Session*>(session);
        const std::lock_guard<std::mutex> hold(self.mutex_);
        return self.isPast() ? 0 : 1;
    }

    // With the lock held.
    bool isPast() const { return end_ && Clock::now() >= *end_; }

    const std::string address_;
    const std::optional<std::string> trackingID_;
    const std::vector<std::string> headers_;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<TelemetryAction> waiting_;
    bool sending_ = false;   // the thread lives
    bool dropping_ = false;  // and that has been logged
    std::optional<Clock::time_point> end_;
};

struct Library {
    std::mutex mutex;
    std::vector<std::string> headers;
    std::shared_ptr<Session> session;
};

// Never destroyed: the process may end while an action is being sent.
Library& library() {
    static auto* const made = new Library();
    return *made;
}

std::shared_ptr<Session> currentSession() {
    const std::lock_guard<std::mutex> hold(library().mutex);
    return library().session;
}

}  // namespace

void SetTelemetryHttpHeader(const char* name, const char* value) {
    const auto line = support::telemetryHeaderLine(name, value);
    const std::lock_guard<std::mutex> hold(library().mutex);
    auto& headers = library().headers;
    if (!line || headers.size() >= kMostHeaders) {
        logWarning("OrvTelemetry, a request header is left out");
        return;
    }
    std::erase_if(headers, [name = support::telemetryHeaderName(*line)](const std::string& other) {
        return support::telemetryHeaderName(other) == name;
    });
    headers.push_back(*line);
}

void SetTelemetrySender(Send send) {
    givenSender() = std::move(send);
}

void StartOrvTelemetry(const char* metricsURL, const char* trackingID) {
    const auto id = trackingID ? std::optional<std::string>(trackingID) : std::nullopt;
    const std::lock_guard<std::mutex> hold(library().mutex);
    library().session = std::make_shared<Session>(metricsURL, id, library().headers);
}

void SendTelemetryActionByID(int actionID) {
    if (const auto session = currentSession())
        session->add(actionID);
}

void SendTelemetryDataImmediately() {
    if (const auto session = currentSession())
        session->flush();
}

void CloseOrvTelemetry() {
    std::shared_ptr<Session> session;
    {
        const std::lock_guard<std::mutex> hold(library().mutex);
        session = std::exchange(library().session, nullptr);
        library().headers.clear();
    }
    if (session)
        session->close();
}
