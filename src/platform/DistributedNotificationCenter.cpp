#include "platform/DistributedNotificationCenter.h"

#include <gio/gio.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <mutex>
#include <new>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/NotificationMessage.h"
#include "platform/Report.h"
#include "platform/RunLoop.h"

namespace platform {
namespace {

constexpr char kPath[] = "/com/tellan/orvane/DistributedNotifications";
constexpr char kInterface[] = "com.tellan.orvane.DistributedNotifications";
constexpr char kMember[] = "Posted";
constexpr char kOwnedNamePrefix[] = "com.tellan.orvane.dga.p";

constexpr size_t kMostWaiting = 16;  // of one name
constexpr std::chrono::milliseconds kFirstPause{250};
constexpr std::chrono::milliseconds kLongestPause{5000};

size_t textLength(const Notification& notification) {
    size_t length = 0;
    for (const auto& [key, value] : notification.userInfo)
        length += key.size() + value.size();
    return length;
}

// The match rule is all that the subscription is for: signals are taken by the filter before it.
void nothing(GDBusConnection* /*bus*/, const char* /*sender*/, const char* /*path*/,
             const char* /*interface*/, const char* /*member*/, GVariant* /*parameters*/, gpointer /*data*/) {
}

// The address of the session bus; none where a bus would first have to be started.
std::string busAddress() {
    char* const found = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    std::string address = found ? found : "";
    g_free(found);
    return address.starts_with("autolaunch:") ? std::string() : address;
}

constexpr auto kConnectionFlags = static_cast<GDBusConnectionFlags>(
    G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);

void nameAnswered(GObject* bus, GAsyncResult* result, gpointer /*data*/) {
    GError* error = nullptr;
    GVariant* answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error);
    if (answer) {
        g_variant_unref(answer);
        return;
    }
    reportWarning(std::string("the session bus refuses our name, a client behind a filter hears nothing: ") +
                  error->message);
    g_error_free(error);
}

// Once per connection. The bus handles it before anything that is sent later: nobody has to wait for the
// answer.
void ownName(GDBusConnection* bus) {
    constexpr guint32 kDoNotQueue = 4;
    const std::string name = kOwnedNamePrefix + std::to_string(getpid());
    g_dbus_connection_call(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                           "RequestName", g_variant_new("(su)", name.c_str(), kDoNotQueue),
                           G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, &nameAnswered,
                           nullptr);
}

}  // namespace

struct DistributedNotificationCenter::State {
    struct Observer {
        uint32_t number;
        std::string name;
        Delivery delivery;
        std::shared_ptr<Handler> handler;
        guint subscription = 0;
    };

    GDBusConnection* bus = nullptr;  // main thread; also kept, unused, while others may still post on it
    std::atomic<bool> connected{false};
    std::unique_ptr<Timer> retry;
    std::chrono::milliseconds pause = kFirstPause;
    uint32_t lastNumber = 0;

    // What GLib's thread and the main thread share.
    std::mutex mutex;
    std::vector<Observer> observers;
    std::deque<Notification> waiting;
    std::deque<Notification> overtaking;
    bool awake = false;

    void connectFirst();
    void useBus(GDBusConnection* connection);
    void subscribe(Observer& observer) const;
    void retryLater();
    void tryAgain();
    void take(GDBusMessage* message);
    void keep(Notification notification);
    void wake();
    void deliver();
    std::optional<Notification> next(std::deque<Notification>& queue);
    void handle(const Notification& notification);

    static void onConnected(GObject* source, GAsyncResult* result, gpointer data);
    static void onClosed(GDBusConnection* bus, gboolean byPeer, GError* error, gpointer data);
    static GDBusMessage* filter(GDBusConnection* bus, GDBusMessage* message, gboolean incoming,
                                gpointer data);
};

DistributedNotificationCenter::DistributedNotificationCenter() : state_(std::make_unique<State>()) {
    state_->connectFirst();
}

void DistributedNotificationCenter::State::connectFirst() {
    GError* error = nullptr;
    char* const address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, &error);
    GDBusConnection* const connection =
        address ? g_dbus_connection_new_for_address_sync(address, kConnectionFlags, nullptr, nullptr, &error)
                : nullptr;
    g_free(address);
    if (connection) {
        useBus(connection);
        return;
    }
    reportWarning(std::string("no session bus, so the client's notifications cannot arrive: ") +
                  error->message);
    g_error_free(error);
    retryLater();
}

// Main thread.
void DistributedNotificationCenter::State::useBus(GDBusConnection* connection) {
    {
        const std::lock_guard<std::mutex> hold(mutex);
        if (bus)
            g_object_unref(bus);
        bus = connection;
        for (Observer& observer : observers)
            subscribe(observer);
    }
    g_dbus_connection_set_exit_on_close(connection, FALSE);
    ownName(connection);
    g_dbus_connection_add_filter(connection, &State::filter, this, nullptr);
    g_signal_connect(connection, "closed", G_CALLBACK(&State::onClosed), this);
    connected = true;
    pause = kFirstPause;
    // It may have gone before there was anybody to be told.
    if (g_dbus_connection_is_closed(connection))
        onClosed(connection, TRUE, nullptr, this);
}

void DistributedNotificationCenter::State::subscribe(Observer& observer) const {
    observer.subscription =
        g_dbus_connection_signal_subscribe(bus, nullptr, kInterface, kMember, kPath, observer.name.c_str(),
                                           G_DBUS_SIGNAL_FLAGS_NONE, &nothing, nullptr, nullptr);
}

void DistributedNotificationCenter::State::onClosed(GDBusConnection* /*bus*/, gboolean /*byPeer*/,
                                                    GError* error, gpointer data) {
    auto* self = static_cast<State*>(data);
    if (!self->connected.exchange(false))
        return;
    reportWarning(std::string("the session bus has gone away, no notifications until it is back") +
                  (error ? std::string(": ") + error->message : std::string()));
    self->retryLater();
}

void DistributedNotificationCenter::State::retryLater() {
    retry = std::make_unique<Timer>(RunLoop::main(), pause, false, [this] { tryAgain(); });
    pause = std::min(2 * pause, kLongestPause);
}

void DistributedNotificationCenter::State::tryAgain() {
    const std::string address = busAddress();
    if (address.empty())
        retryLater();
    else
        g_dbus_connection_new_for_address(address.c_str(), kConnectionFlags, nullptr, nullptr,
                                          &State::onConnected, this);
}

void DistributedNotificationCenter::State::onConnected(GObject* /*source*/, GAsyncResult* result,
                                                       gpointer data) {
    auto* self = static_cast<State*>(data);
    GDBusConnection* const connection = g_dbus_connection_new_for_address_finish(result, nullptr);
    if (!connection) {
        self->retryLater();
        return;
    }
    self->useBus(connection);
    reportNotice("the session bus is back");
}

// On GLib's own thread: what is for us goes into a queue that cannot grow, and no further.
GDBusMessage* DistributedNotificationCenter::State::filter(GDBusConnection* /*bus*/, GDBusMessage* message,
                                                           gboolean incoming, gpointer data) {
    if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_SIGNAL ||
        g_strcmp0(g_dbus_message_get_interface(message), kInterface) != 0 ||
        g_strcmp0(g_dbus_message_get_member(message), kMember) != 0 ||
        g_strcmp0(g_dbus_message_get_path(message), kPath) != 0)
        return message;
    try {
        static_cast<State*>(data)->take(message);
    } catch (const std::bad_alloc&) {
        reportWarning("a notification was lost: there is no memory for it");
    }
    g_object_unref(message);
    return nullptr;
}

void DistributedNotificationCenter::State::take(GDBusMessage* message) {
    GVariant* const parameters = g_dbus_message_get_body(message);
    const size_t size = parameters ? g_variant_get_size(parameters) : 0;
    if (size > 2 * kMaxTextLength) {
        reportWarning("a notification of " + std::to_string(size) + " bytes was ignored");
        return;
    }
    auto notification = notificationFrom(parameters);
    if (!notification)
        reportWarning("a notification of an unknown form was ignored");
    else if (const size_t length = textLength(*notification); length > kMaxTextLength)
        reportWarning("a notification of " + std::to_string(length) + " bytes was ignored");
    else
        keep(std::move(*notification));
}

void DistributedNotificationCenter::State::keep(Notification notification) {
    const std::lock_guard<std::mutex> hold(mutex);
    const auto observer = std::find_if(observers.begin(), observers.end(),
                                       [&](const Observer& one) { return one.name == notification.name; });
    if (observer == observers.end())
        return;
    auto& queue = observer->delivery == Delivery::overtaking ? overtaking : waiting;
    const auto isOne = [&](const Notification& other) { return other.name == notification.name; };
    size_t count = 1;
    size_t length = textLength(notification);
    for (const Notification& other : queue) {
        count += isOne(other) ? 1 : 0;
        length += isOne(other) ? textLength(other) : 0;
    }
    // They come faster than they are handled: only the newest of this name counts.
    if (count > kMostWaiting || length > kMaxTextLength) {
        for (const Notification& other : queue)
            notification.passedOver += isOne(other) ? other.passedOver + 1 : 0;
        std::erase_if(queue, isOne);
    }
    queue.push_back(std::move(notification));
    wake();
}

// Under the lock.
void DistributedNotificationCenter::State::wake() {
    if (!std::exchange(awake, true))
        performOnMain([this] { deliver(); });
}

// Those that overtake, of which there are few, and one that waits a turn: the rest of the loop has its turn,
// too.
void DistributedNotificationCenter::State::deliver() {
    for (size_t left = kMostWaiting; left > 0; --left) {
        if (const auto notification = next(overtaking))
            handle(*notification);
        else
            break;
    }
    if (const auto notification = next(waiting))
        handle(*notification);
    const std::lock_guard<std::mutex> hold(mutex);
    awake = false;
    if (!overtaking.empty() || !waiting.empty())
        wake();
}

std::optional<Notification> DistributedNotificationCenter::State::next(std::deque<Notification>& queue) {
    const std::lock_guard<std::mutex> hold(mutex);
    if (queue.empty())
        return std::nullopt;
    std::optional<Notification> first(std::move(queue.front()));
    queue.pop_front();
    return first;
}

void DistributedNotificationCenter::State::handle(const Notification& notification) {
    std::vector<std::shared_ptr<Handler>> handlers;
    {
        const std::lock_guard<std::mutex> hold(mutex);
        for (const Observer& observer : observers) {
            if (observer.name == notification.name)
                handlers.push_back(observer.handler);
        }
    }
    for (const auto& handler : handlers) {
        try {
            (*handler)(notification);
        } catch (const std::bad_alloc&) {
            reportWarning(notification.name + " was lost: there is no memory for it");
        }
    }
}

DistributedNotificationCenter& DistributedNotificationCenter::defaultCenter() {
    static DistributedNotificationCenter* const center = new DistributedNotificationCenter();
    return *center;
}

bool DistributedNotificationCenter::isConnected() const {
    return state_->connected;
}

uint32_t DistributedNotificationCenter::addObserver(const std::string& name, Handler handler,
                                                    Delivery delivery) {
    const std::lock_guard<std::mutex> hold(state_->mutex);
    auto& observer = state_->observers.emplace_back(
        State::Observer{++state_->lastNumber, name, delivery, std::make_shared<Handler>(std::move(handler))});
    if (state_->connected)
        state_->subscribe(observer);
    return observer.number;
}

void DistributedNotificationCenter::removeObserver(uint32_t observer) {
    const std::lock_guard<std::mutex> hold(state_->mutex);
    const auto found = std::find_if(state_->observers.begin(), state_->observers.end(),
                                    [observer](const auto& one) { return one.number == observer; });
    if (found == state_->observers.end())
        return;
    if (state_->connected)
        g_dbus_connection_signal_unsubscribe(state_->bus, found->subscription);
    state_->observers.erase(found);
}

void DistributedNotificationCenter::deliverOvertaking() {
    while (const auto notification = state_->next(state_->overtaking))
        state_->handle(*notification);
}

void DistributedNotificationCenter::deliverLatest(const std::string& name) {
    std::optional<Notification> latest;
    {
        const std::lock_guard<std::mutex> hold(state_->mutex);
        for (Notification& one : state_->waiting) {
            if (one.name != name)
                continue;
            one.passedOver += latest ? latest->passedOver + 1 : 0;
            latest = std::move(one);
        }
        std::erase_if(state_->waiting,
                      [&](const Notification& one) { return one.name == name || one.name.empty(); });
    }
    if (latest)
        state_->handle(*latest);
}

void DistributedNotificationCenter::postNotification(const Notification& notification,
                                                     bool deliverImmediately) {
    if (!state_->connected)
        return;
    GDBusConnection* bus = nullptr;
    {
        const std::lock_guard<std::mutex> hold(state_->mutex);
        bus = G_DBUS_CONNECTION(g_object_ref(state_->bus));
    }
    GVariant* const parameters = notificationParameters(notification);
    GError* error = nullptr;
    g_dbus_connection_emit_signal(bus, nullptr, kPath, kInterface, kMember, parameters, &error);
    if (!error && deliverImmediately)
        g_dbus_connection_flush_sync(bus, nullptr, &error);
    g_object_unref(bus);
    if (error) {
        reportWarning("posting " + notification.name + " failed: " + error->message);
        g_error_free(error);
    }
}

}  // namespace platform
