#include "DGAUpload/logic/webaccess/ProxyMemory.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "platform/net/InternetPassword.h"

namespace {

using Clock = ProxyMemory::Clock;
using platform::ProxyServer;

constexpr std::chrono::minutes kRest{5};
constexpr std::chrono::seconds kSettingsLast{1};
// The keyring has one protocol for proxies of every kind.
constexpr char kKeyringProtocol[] = "http";

std::string nameOf(platform::ProxyKind kind, const std::string& host, int32_t port) {
    return std::to_string(static_cast<int>(kind)) + " " + host + " " + std::to_string(port);
}

std::string nameOf(const ProxyServer& proxy) {
    return nameOf(proxy.kind, proxy.host, proxy.port);
}

std::string nameOf(const PacProxy& route) {
    return nameOf(route.kind, route.host, route.port);
}

platform::HttpAuth strongest(unsigned offered) {
    for (const auto way : {platform::kHttpAuthDigest, platform::kHttpAuthNtlm, platform::kHttpAuthBasic}) {
        if ((offered & way) != 0)
            return way;
    }
    // One that does not say what it wants.
    return offered == 0 ? platform::kHttpAuthBasic : platform::kHttpAuthNone;
}

struct Failures {
    std::mutex mutex;
    std::map<std::string, Clock::time_point> last;
};

Failures& failures() {
    static auto* const made = new Failures;
    return *made;
}

bool rests(const PacProxy& route) {
    const std::lock_guard<std::mutex> hold(failures().mutex);
    const auto found = failures().last.find(nameOf(route));
    return found != failures().last.end() && Clock::now() - found->second < kRest;
}

}  // namespace

const std::optional<platform::ProxySettings>& ProxyMemory::settings() {
    if (const auto now = Clock::now(); !settingsRead_ || now - *settingsRead_ >= kSettingsLast) {
        settings_ = platform::copySystemProxySettings();
        settingsRead_ = now;
    }
    return settings_;
}

std::optional<ProxyMemory::Login> ProxyMemory::login(const ProxyServer& proxy) const {
    const auto found = attempts_.find(nameOf(proxy));
    return found == attempts_.end() ? std::nullopt : found->second.last;
}

void ProxyMemory::nextLogin(const ProxyServer& proxy, unsigned offered, const Found& found) {
    Attempts& attempts = attempts_[nameOf(proxy)];
    if (!std::exchange(attempts.ticketTried, true) && (offered & platform::kHttpAuthNegotiate) != 0) {
        attempts.last = Login{"", "", platform::kHttpAuthNegotiate};
        return found(attempts.last);
    }
    const auto takeNext = [](Attempts& from) {
        from.last.reset();
        if (!from.left.empty()) {
            from.last = std::move(from.left.back());
            from.left.pop_back();
        }
        return from.last;
    };
    const auto auth = strongest(offered);
    if (std::exchange(attempts.loginsKnown, true) || auth == platform::kHttpAuthNone)
        return found(takeNext(attempts));
    attempts.last.reset();
    platform::findInternetPassword(
        proxy.host, static_cast<uint16_t>(proxy.port), kKeyringProtocol,
        [weak = weak_from_this(), proxy, auth, found, takeNext](const auto& password) {
            const auto self = weak.lock();
            if (!self)
                return;
            Attempts& waiting = self->attempts_[nameOf(proxy)];
            if (!proxy.user.empty())
                waiting.left.push_back({proxy.user, proxy.password, auth});
            const bool isNew =
                password && (password->account != proxy.user || password->password != proxy.password);
            if (isNew && !password->account.empty())
                waiting.left.push_back({password->account, password->password, auth});
            found(takeNext(waiting));
        });
}

std::vector<PacProxy> ProxyMemory::inOrder(const std::vector<PacProxy>& routes) const {
    std::vector<PacProxy> ordered = routes;
    const auto rank = [this](const PacProxy& route) {
        if (working_ && nameOf(*working_) == nameOf(route))
            return 0;
        return rests(route) ? 2 : 1;
    };
    std::stable_sort(ordered.begin(), ordered.end(),
                     [&](const PacProxy& a, const PacProxy& b) { return rank(a) < rank(b); });
    return ordered;
}

void ProxyMemory::routeFailed(const PacProxy& route, Clock::time_point when) {
    const std::lock_guard<std::mutex> hold(failures().mutex);
    std::erase_if(failures().last, [](const auto& failure) { return Clock::now() - failure.second > kRest; });
    failures().last[nameOf(route)] = when;
}
