#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/Notification.h"

namespace platform {

/// System-wide notifications as signals of the D-Bus session bus: path
/// /com/tellan/orvane/DistributedNotifications, interface com.tellan.orvane.DistributedNotifications,
/// member Posted, signature ssa{sv} (name, object, user info). Observers match on the name (arg0).
/// The bus name com.tellan.orvane.dga.p<process id> is taken, for buses that filter by names. Used from the
/// main thread; posting is allowed from any thread.
///
/// Where there is no bus, or it goes away, that is reported at level 8; the centre then tries again with
/// pauses that grow to 5 seconds, and the observers hear again what is posted from then on.
///
/// However fast somebody posts, little waits: of each name at most 16 notifications and a mebibyte, the
/// newest; Notification::passedOver counts the others. One whose texts are longer than a mebibyte is ignored,
/// with a report.
class DistributedNotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;

    /// How a notification waits for the main thread: in the order of sending, or before all that do.
    enum class Delivery : uint8_t { inOrder, overtaking };

    static constexpr size_t kMaxTextLength = size_t{1024} * 1024;

    /// The centre of the user's session. The first use connects to the bus and blocks for that time.
    static DistributedNotificationCenter& defaultCenter();

    /// Whether there is a bus at the moment. Any thread.
    bool isConnected() const;

    /// Calls `handler` on the main thread for the notifications of that name. The result is for
    /// removeObserver(). With a bus, anything posted after this returns, by whomever, reaches the handler.
    uint32_t addObserver(const std::string& name, Handler handler, Delivery delivery = Delivery::inOrder);
    void removeObserver(uint32_t observer);

    /// Handles now what has come and overtakes.
    void deliverOvertaking();

    /// Handles now the newest of this name that waits; those before it are passed over.
    void deliverLatest(const std::string& name);

    /// Sends one notification, without a bus none; text that is not UTF-8 is made so. With
    /// `deliverImmediately` the call returns when the bus has the message, else it is on its way soon after.
    void postNotification(const Notification& notification, bool deliverImmediately);

    DistributedNotificationCenter(const DistributedNotificationCenter&) = delete;
    DistributedNotificationCenter& operator=(const DistributedNotificationCenter&) = delete;

private:
    DistributedNotificationCenter();
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace platform
