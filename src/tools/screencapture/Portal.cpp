#include "tools/screencapture/Portal.h"

#include <gio/gio.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

namespace tools {
namespace {

constexpr char kService[] = "org.freedesktop.portal.Desktop";
constexpr char kObject[] = "/org/freedesktop/portal/desktop";
constexpr int kCallMilliseconds = 10000;
constexpr unsigned kAnswerMilliseconds = 30000;

template <typename Type, void (*release)(Type*)>
struct Release {
    void operator()(Type* object) const { release(object); }
};
using Variant = std::unique_ptr<GVariant, Release<GVariant, g_variant_unref>>;
using Loop = std::unique_ptr<GMainLoop, Release<GMainLoop, g_main_loop_unref>>;
using Error = std::unique_ptr<GError, Release<GError, g_error_free>>;

struct ObjectRelease {
    void operator()(void* object) const { g_object_unref(object); }
};
using Connection = std::unique_ptr<GDBusConnection, ObjectRelease>;

struct Request {
    Loop loop{g_main_loop_new(nullptr, FALSE)};
    bool answered = false;
    unsigned code = 0;
    std::string uri;
};

void onResponse(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters,
                gpointer data) {
    auto* request = static_cast<Request*>(data);
    if (request->answered || !g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ua{sv})")))
        return;
    request->answered = true;
    GVariant* results = nullptr;
    g_variant_get(parameters, "(u@a{sv})", &request->code, &results);
    const Variant held(results);
    const char* uri = nullptr;
    if (g_variant_lookup(results, "uri", "&s", &uri))
        request->uri = uri;
    g_main_loop_quit(request->loop.get());
}

unsigned subscribe(GDBusConnection* bus, const std::string& path, Request& request) {
    return g_dbus_connection_signal_subscribe(bus, kService, "org.freedesktop.portal.Request", "Response",
                                              path.c_str(), nullptr, G_DBUS_SIGNAL_FLAGS_NONE, onResponse,
                                              &request, nullptr);
}

std::string requestPath(GDBusConnection* bus, const std::string& token) {
    const char* name = g_dbus_connection_get_unique_name(bus);
    std::string sender = name ? name : "";
    std::erase(sender, ':');
    std::replace(sender.begin(), sender.end(), '.', '_');
    return std::string(kObject) + "/request/" + sender + "/" + token;
}

void takePath(const Request& request, PortalAnswer& answer) {
    if (!request.answered)
        answer.fault = "the desktop does not answer";
    else if (request.code != 0)
        answer.fault = "the desktop or the user refuses the screenshot";
    else if (char* path = g_filename_from_uri(request.uri.c_str(), nullptr, nullptr)) {
        answer.path = path;
        g_free(path);
    } else {
        answer.fault = "the desktop names no file";
    }
}

}  // namespace

PortalAnswer screenshotFromPortal() {
    PortalAnswer answer;
    GError* error = nullptr;
    const Connection bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error));
    if (!bus) {
        answer.fault = Error(error)->message;
        return answer;
    }
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);

    Request request;
    const std::string token = "orvanedga_" + std::to_string(getpid());
    const std::string expected = requestPath(bus.get(), token);
    // Before the call: the answer may come at once.
    unsigned subscription = subscribe(bus.get(), expected, request);
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&options, "{sv}", "handle_token", g_variant_new_string(token.c_str()));
    g_variant_builder_add(&options, "{sv}", "interactive", g_variant_new_boolean(FALSE));
    const Variant reply(g_dbus_connection_call_sync(
        bus.get(), kService, kObject, "org.freedesktop.portal.Screenshot", "Screenshot",
        g_variant_new("(sa{sv})", "", &options), G_VARIANT_TYPE("(o)"), G_DBUS_CALL_FLAGS_NONE,
        kCallMilliseconds, nullptr, &error));
    if (reply) {
        answer.reached = true;
        const char* path = nullptr;
        g_variant_get(reply.get(), "(&o)", &path);
        if (expected != path) {  // older portals choose the path by themselves
            g_dbus_connection_signal_unsubscribe(bus.get(), subscription);
            subscription = subscribe(bus.get(), path, request);
        }
        const unsigned timer = g_timeout_add(
            kAnswerMilliseconds,
            [](gpointer loop) -> gboolean {
                g_main_loop_quit(static_cast<GMainLoop*>(loop));
                return G_SOURCE_CONTINUE;
            },
            request.loop.get());
        g_main_loop_run(request.loop.get());
        g_source_remove(timer);
        takePath(request, answer);
    } else {
        answer.fault = Error(error)->message;
    }
    g_dbus_connection_signal_unsubscribe(bus.get(), subscription);
    return answer;
}

}  // namespace tools
