#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace platform {

/// A named message to every program of the user's session.
struct Notification {
    std::string name;
    /// The sender's object; a missing one travels as "".
    std::optional<std::string> object;
    /// The text values of the user info; values of other types are left out.
    std::map<std::string, std::string> userInfo;
};

/// System-wide notifications as signals of the D-Bus session bus: path
/// /com/tellan/orvane/DistributedNotifications, interface com.tellan.orvane.DistributedNotifications,
/// member Posted, signature ssa{sv} (name, object, user info). Observers match on the name (arg0).
/// The bus name com.tellan.orvane.dga.p<process id> is taken, for buses that filter by names. Used from the
/// main thread; posting is allowed from any thread.
class DistributedNotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;

    /// The centre of the user's session. The first use connects to the bus and blocks for that time;
    /// without a bus that is reported at level 8, nothing is ever delivered, and posting does nothing.
    static DistributedNotificationCenter& defaultCenter();

    /// Whether there was a bus and it has not gone away since; losing it is reported at level 8.
    bool isConnected() const;

    /// Calls `handler` on the main thread for every notification of that name, in the order of sending.
    /// The result is for removeObserver(); 0 without a bus. Anything posted after this returns, by
    /// whomever, reaches the handler.
    uint32_t addObserver(const std::string& name, Handler handler);
    void removeObserver(uint32_t observer);

    /// Sends one notification; text that is not UTF-8 is made so. With `deliverImmediately` the call
    /// returns when the bus has the message, else it is on its way soon after.
    void postNotification(const Notification& notification, bool deliverImmediately);

    DistributedNotificationCenter(const DistributedNotificationCenter&) = delete;
    DistributedNotificationCenter& operator=(const DistributedNotificationCenter&) = delete;

private:
    DistributedNotificationCenter();
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace platform
