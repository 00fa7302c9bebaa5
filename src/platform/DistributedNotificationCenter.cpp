#include "platform/DistributedNotificationCenter.h"

#include <gio/gio.h>
#include <unistd.h>

#include <atomic>
#include <string_view>
#include <utility>

#include "platform/Report.h"

namespace platform {
namespace {

constexpr char kPath[] = "/com/tellan/orvane/DistributedNotifications";
constexpr char kInterface[] = "com.tellan.orvane.DistributedNotifications";
constexpr char kMember[] = "Posted";
constexpr char kOwnedNamePrefix[] = "com.tellan.orvane.dga.p";
constexpr char kSignature[] = "(ssa{sv})";

GVariant* textVariant(const std::string& text) {
    return g_variant_new_take_string(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
}

Notification notificationFrom(GVariant* parameters) {
    Notification notification;
    const char* name = nullptr;
    const char* object = nullptr;
    GVariantIter* info = nullptr;
    g_variant_get(parameters, "(&s&sa{sv})", &name, &object, &info);
    notification.name = name;
    if (*object)
        notification.object = object;
    const char* key = nullptr;
    GVariant* value = nullptr;
    while (g_variant_iter_next(info, "{&sv}", &key, &value)) {
        if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING)) {
            gsize length = 0;
            const char* text = g_variant_get_string(value, &length);
            notification.userInfo.insert_or_assign(key, std::string(text, length));
        }
        g_variant_unref(value);
    }
    g_variant_iter_free(info);
    return notification;
}

void signalArrived(GDBusConnection* /*bus*/, const char* /*sender*/, const char* /*path*/,
                   const char* /*interface*/, const char* /*member*/, GVariant* parameters, gpointer data) {
    if (g_variant_is_of_type(parameters, G_VARIANT_TYPE(kSignature)))
        (*static_cast<DistributedNotificationCenter::Handler*>(data))(notificationFrom(parameters));
    else
        reportWarning("a notification of an unknown form was ignored");
}

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
    GDBusConnection* bus = nullptr;
    std::atomic<bool> connected{false};

    static void busClosed(GDBusConnection* /*bus*/, gboolean /*byPeer*/, GError* error, gpointer data) {
        static_cast<State*>(data)->connected = false;
        reportWarning(std::string("the session bus has gone away, no notifications from now on") +
                      (error ? std::string(": ") + error->message : std::string()));
    }
};

DistributedNotificationCenter::DistributedNotificationCenter() : state_(std::make_unique<State>()) {
    GError* error = nullptr;
    state_->bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error);
    if (!state_->bus) {
        reportWarning(std::string("no session bus, so the client's notifications cannot arrive: ") +
                      error->message);
        g_error_free(error);
        return;
    }
    state_->connected = true;
    g_dbus_connection_set_exit_on_close(state_->bus, FALSE);
    g_signal_connect(state_->bus, "closed", G_CALLBACK(&State::busClosed), state_.get());
    ownName(state_->bus);
}

DistributedNotificationCenter& DistributedNotificationCenter::defaultCenter() {
    static DistributedNotificationCenter* const center = new DistributedNotificationCenter();
    return *center;
}

bool DistributedNotificationCenter::isConnected() const {
    return state_->connected;
}

uint32_t DistributedNotificationCenter::addObserver(const std::string& name, Handler handler) {
    if (!state_->bus)
        return 0;
    return g_dbus_connection_signal_subscribe(state_->bus, nullptr, kInterface, kMember, kPath, name.c_str(),
                                              G_DBUS_SIGNAL_FLAGS_NONE, &signalArrived,
                                              new Handler(std::move(handler)),
                                              [](gpointer data) { delete static_cast<Handler*>(data); });
}

void DistributedNotificationCenter::removeObserver(uint32_t observer) {
    if (state_->bus && observer)
        g_dbus_connection_signal_unsubscribe(state_->bus, observer);
}

void DistributedNotificationCenter::postNotification(const Notification& notification,
                                                     bool deliverImmediately) {
    if (!state_->bus)
        return;
    GVariantBuilder info;
    g_variant_builder_init(&info, G_VARIANT_TYPE_VARDICT);
    for (const auto& [key, value] : notification.userInfo)
        g_variant_builder_add(&info, "{sv}", key.c_str(), textVariant(value));
    GVariant* parameters = g_variant_new("(@s@sa{sv})", textVariant(notification.name),
                                         textVariant(notification.object.value_or("")), &info);
    GError* error = nullptr;
    g_dbus_connection_emit_signal(state_->bus, nullptr, kPath, kInterface, kMember, parameters, &error);
    if (!error && deliverImmediately)
        g_dbus_connection_flush_sync(state_->bus, nullptr, &error);
    if (error) {
        reportWarning("posting " + notification.name + " failed: " + error->message);
        g_error_free(error);
    }
}

}  // namespace platform
