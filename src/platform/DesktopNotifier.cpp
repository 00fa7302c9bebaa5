#include "platform/DesktopNotifier.h"

#include <gio/gio.h>

#include <utility>

#include "platform/Report.h"
#include "platform/RunLoop.h"
#include "platform/SessionBus.h"

namespace platform {
namespace {

constexpr char kService[] = "org.freedesktop.Notifications";
constexpr char kPath[] = "/org/freedesktop/Notifications";
constexpr char kPortalService[] = "org.freedesktop.portal.Desktop";
constexpr char kPortalPath[] = "/org/freedesktop/portal/desktop";
constexpr char kPortal[] = "org.freedesktop.portal.Notification";
constexpr char kPortalId[] = "message";

// In the order of the service's Notify().
GVariant* serviceArguments(const DesktopNotifier::Message& message) {
    GVariantBuilder buttons;
    g_variant_builder_init(&buttons, G_VARIANT_TYPE("as"));
    for (const auto& button : message.buttons) {
        g_variant_builder_add(&buttons, "s", button.key.c_str());
        g_variant_builder_add(&buttons, "s", button.label.c_str());
    }
    GVariantBuilder hints;
    g_variant_builder_init(&hints, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&hints, "{sv}", "suppress-sound", g_variant_new_boolean(TRUE));
    g_variant_builder_add(&hints, "{sv}", "desktop-entry", g_variant_new_string(message.icon.c_str()));
    return g_variant_new("(susssasa{sv}i)", message.icon.c_str(), 0U, message.icon.c_str(),
                         message.title.c_str(), message.text.c_str(), &buttons, &hints, -1);
}

GVariant* portalArguments(const DesktopNotifier::Message& message) {
    GVariantBuilder buttons;
    g_variant_builder_init(&buttons, G_VARIANT_TYPE("aa{sv}"));
    for (const auto& button : message.buttons) {
        g_variant_builder_open(&buttons, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&buttons, "{sv}", "label", g_variant_new_string(button.label.c_str()));
        g_variant_builder_add(&buttons, "{sv}", "action", g_variant_new_string(button.key.c_str()));
        g_variant_builder_close(&buttons);
    }
    GVariantBuilder parts;
    g_variant_builder_init(&parts, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&parts, "{sv}", "title", g_variant_new_string(message.title.c_str()));
    g_variant_builder_add(&parts, "{sv}", "body", g_variant_new_string(message.text.c_str()));
    g_variant_builder_add(&parts, "{sv}", "buttons", g_variant_builder_end(&buttons));
    return g_variant_new("(sa{sv})", kPortalId, &parts);
}

}  // namespace

struct DesktopNotifier::State {
    Message message;
    Chosen chosen;
    GCancellable* ended = g_cancellable_new();
    GDBusConnection* bus = nullptr;
    guint pressed = 0;
    guint pressedInPortal = 0;
    guint closed = 0;
    guint32 id = 0;

    ~State() {
        g_cancellable_cancel(ended);
        g_object_unref(ended);
        letGo();
    }

    void letGo() {
        for (guint* const subscription : {&pressed, &pressedInPortal, &closed}) {
            if (bus && *subscription != 0)
                g_dbus_connection_signal_unsubscribe(bus, std::exchange(*subscription, 0));
        }
        g_clear_object(&bus);
    }

    void connect() { connectToSessionBus(ended, &connected, this, nullptr); }

    // After the end of this object nothing here may use it: what was cancelled says so.
    static bool failed(GError* error) {
        if (!error)
            return false;
        if (!g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED))
            reportInfo(std::string("no desktop notification: ") + error->message);
        g_error_free(error);
        return true;
    }

    static void connected(GObject* /*source*/, GAsyncResult* result, gpointer data) {
        GError* error = nullptr;
        GDBusConnection* const made = g_dbus_connection_new_for_address_finish(result, &error);
        if (failed(error))
            return;
        auto* const self = static_cast<State*>(data);
        self->bus = made;
        self->pressed = self->subscribe(kService, kService, "ActionInvoked", kPath);
        self->closed = self->subscribe(kService, kService, "NotificationClosed", kPath);
        g_dbus_connection_call(made, kService, kPath, kService, "Notify", serviceArguments(self->message),
                               G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1, self->ended, &shown, self);
    }

    guint subscribe(const char* service, const char* interface, const char* signal, const char* path) {
        return g_dbus_connection_signal_subscribe(bus, service, interface, signal, path, nullptr,
                                                  G_DBUS_SIGNAL_FLAGS_NONE, &told, this, nullptr);
    }

    static void shown(GObject* source, GAsyncResult* result, gpointer data) {
        GError* error = nullptr;
        GVariant* const answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
        const bool isCancelled = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
        if (answer) {
            g_variant_get(answer, "(u)", &static_cast<State*>(data)->id);
            g_variant_unref(answer);
        } else if (!isCancelled) {
            static_cast<State*>(data)->showByPortal();
        }
        g_clear_error(&error);
    }

    void showByPortal() {
        pressedInPortal = subscribe(kPortalService, kPortal, "ActionInvoked", kPortalPath);
        g_dbus_connection_call(bus, kPortalService, kPortalPath, kPortal, "AddNotification",
                               portalArguments(message), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, ended,
                               &shownByPortal, this);
    }

    static void shownByPortal(GObject* source, GAsyncResult* result, gpointer data) {
        GError* error = nullptr;
        GVariant* const answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
        const bool isCancelled = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
        if (answer)
            g_variant_unref(answer);
        if (failed(error) && !isCancelled)
            static_cast<State*>(data)->letGo();
    }

    static void told(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
                     const gchar* /*interface*/, const gchar* signal, GVariant* parameters, gpointer data) {
        auto* const self = static_cast<State*>(data);
        guint32 number = 0;
        const char* name = nullptr;
        const char* key = nullptr;
        if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(us)")))
            g_variant_get(parameters, "(u&s)", &number, &key);
        else if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ssav)")))
            g_variant_get(parameters, "(&s&s@av)", &name, &key, nullptr);
        else if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(uu)")))
            g_variant_get(parameters, "(uu)", &number, nullptr);
        const bool isOurs = name ? g_str_equal(name, kPortalId) != 0 : self->id != 0 && number == self->id;
        if (!isOurs)
            return;
        self->end(key && !g_str_equal(signal, "NotificationClosed") ? key : "");
    }

    // From inside a signal: the connection is let go of later.
    void end(const std::string& key) {
        const Chosen told = std::exchange(chosen, nullptr);
        id = 0;
        for (const auto& button : message.buttons) {
            if (told && button.key == key)
                performOnMain([told, key] { told(key); });
        }
    }
};

DesktopNotifier::DesktopNotifier() : state_(std::make_unique<State>()) {}

DesktopNotifier::~DesktopNotifier() = default;

void DesktopNotifier::show(Message message, Chosen chosen) {
    state_->message = std::move(message);
    state_->chosen = std::move(chosen);
    state_->connect();
}

}  // namespace platform
