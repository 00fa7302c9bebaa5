#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DGAUpload/logic/webaccess/PacParser.h"
#include "platform/ProxySettings.h"
#include "platform/net/HttpReadStream.h"

/// What the requests of one upload have learnt about its proxies, so that none has to find it out again: the
/// credentials that are let through, and which way of a script's answer works. Held by std::shared_ptr; used
/// on one thread.
class ProxyMemory : public std::enable_shared_from_this<ProxyMemory> {
public:
    using Clock = std::chrono::steady_clock;
    struct Login {
        std::string user;
        std::string password;
        platform::HttpAuth auth = platform::kHttpAuthBasic;
    };
    using Found = std::function<void(const std::optional<Login>&)>;

    /// The desktop's settings, read anew at most once a second: pieces follow each other much faster.
    const std::optional<platform::ProxySettings>& settings();

    /// What was tried last at a proxy, with which a new request begins. None before nextLogin(), and when all
    /// was refused.
    std::optional<Login> login(const platform::ProxyServer& proxy) const;

    /// What to try next at a proxy that refused (status 407): the user's ticket, where the proxy takes one;
    /// then the keyring's password, which is asked for once; then the one of the settings. Passwords go by
    /// the strongest way that the proxy offers. Calls `found` once, here or later on the thread's loop; with
    /// none when there is nothing more. Nothing is tried twice.
    void nextLogin(const platform::ProxyServer& proxy, unsigned offered, const Found& found);

    /// The ways of a script's answer in the order in which they are to be tried: first the one that worked,
    /// at last those to which no connection came about within the last 5 minutes.
    std::vector<PacProxy> inOrder(const std::vector<PacProxy>& routes) const;
    void routeWorked(const PacProxy& route) { working_ = route; }

    /// Counts for the whole process.
    static void routeFailed(const PacProxy& route, Clock::time_point when = Clock::now());

private:
    struct Attempts {
        bool ticketTried = false;
        bool loginsKnown = false;
        std::vector<Login> left;  // the next one at the end
        std::optional<Login> last;
    };

    std::optional<platform::ProxySettings> settings_;
    std::optional<Clock::time_point> settingsRead_;
    std::map<std::string, Attempts> attempts_;
    std::optional<PacProxy> working_;
};
