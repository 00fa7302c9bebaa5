// Opens a new message in the desktop's mail program: by the portal's composer, or by whatever opens mail
// links. The message comes in on standard input, where no other user can read it: a line each with the
// recipient, the subject and the attachment's path, and behind them the body. Exit status 0: it was opened.
#include <fcntl.h>
#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

namespace {

constexpr char kHelp[] = "usage: mail_composer portal|handler < MESSAGE\n";
constexpr char kPortal[] = "org.freedesktop.portal.Desktop";
constexpr char kObject[] = "/org/freedesktop/portal/desktop";
constexpr int kCallMilliseconds = 10000;
// The person may first have to choose a program.
constexpr unsigned kAnswerSeconds = 120;
constexpr int kBadUsage = 2;

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
    void operator()(GVariant* variant) const { g_variant_unref(variant); }
    void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

struct Message {
    std::string recipient;
    std::string subject;
    std::string attachment;
    std::string body;
};

Message readMessage() {
    Message message;
    std::getline(std::cin, message.recipient);
    std::getline(std::cin, message.subject);
    std::getline(std::cin, message.attachment);
    message.body.assign(std::istreambuf_iterator<char>(std::cin), {});
    return message;
}

// Every byte as %xx, but those of a path or address that are plain, so that no program on the way finds
// anything to interpret.
std::string percent(const std::string& text, std::string_view plain) {
    std::string encoded;
    for (const char c : text) {
        char hex[4];
        std::snprintf(hex, sizeof hex, "%%%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
        encoded += plain.find(c) != std::string_view::npos ? std::string(1, c) : std::string(hex);
    }
    return encoded;
}

// With line breaks as RFC 6068 wants them.
std::string mailLink(const Message& message) {
    std::string body;
    for (const char c : message.body) {
        if (c == '\n' && !body.ends_with('\r'))
            body += '\r';
        body += c;
    }
    return "mailto:" + percent(message.recipient, "@") + "?subject=" + percent(message.subject, "") +
           "&body=" + percent(body, "") +
           (message.attachment.empty() ? "" : "&attach=" + percent(message.attachment, "/"));
}

GVariant* optionsOf(const Message& message, GUnixFDList* handles) {
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    const auto add = [&options](const char* key, const std::string& text) {
        if (!text.empty())
            g_variant_builder_add(&options, "{sv}", key, g_variant_new_string(text.c_str()));
    };
    add("address", message.recipient);
    add("subject", message.subject);
    add("body", message.body);
    const int file = message.attachment.empty() ? -1 : open(message.attachment.c_str(), O_RDONLY | O_CLOEXEC);
    if (file >= 0) {
        GVariantBuilder list;
        g_variant_builder_init(&list, G_VARIANT_TYPE("ah"));
        g_variant_builder_add(&list, "h", g_unix_fd_list_append(handles, file, nullptr));
        g_variant_builder_add(&options, "{sv}", "attachment_fds", g_variant_builder_end(&list));
        close(file);
    }
    return g_variant_new("(sa{sv})", "", &options);
}

struct Answer {
    Owned<GMainLoop> loop{g_main_loop_new(nullptr, FALSE)};
    unsigned code = 0;
};

void onResponse(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters,
                gpointer data) {
    auto* const answer = static_cast<Answer*>(data);
    if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ua{sv})")))
        g_variant_get(parameters, "(ua{sv})", &answer->code, nullptr);
    g_main_loop_quit(answer->loop.get());
}

// An answer of 1, "cancelled", also comes from portals that have opened the message; 2 is a failure.
bool composeByPortal(const Message& message) {
    const Owned<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (!bus)
        return false;
    Answer answer;
    // Before the call: the answer may come at once. All of this connection's requests are this one.
    g_dbus_connection_signal_subscribe(bus.get(), kPortal, "org.freedesktop.portal.Request", "Response",
                                       nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE, &onResponse, &answer,
                                       nullptr);
    const Owned<GUnixFDList> handles(g_unix_fd_list_new());
    const Owned<GVariant> reply(g_dbus_connection_call_with_unix_fd_list_sync(
        bus.get(), kPortal, kObject, "org.freedesktop.portal.Email", "ComposeEmail",
        optionsOf(message, handles.get()), G_VARIANT_TYPE("(o)"), G_DBUS_CALL_FLAGS_NONE, kCallMilliseconds,
        handles.get(), nullptr, nullptr, nullptr));
    if (!reply)
        return false;
    g_timeout_add_seconds(
        kAnswerSeconds,
        [](gpointer loop) -> gboolean {
            g_main_loop_quit(static_cast<GMainLoop*>(loop));
            return G_SOURCE_REMOVE;
        },
        answer.loop.get());
    g_main_loop_run(answer.loop.get());
    return answer.code < 2;
}

bool composeByHandler(const Message& message) {
    const Owned<GAppInfo> handler(g_app_info_get_default_for_uri_scheme("mailto"));
    std::string link = mailLink(message);
    GList uris{link.data(), nullptr, nullptr};
    return handler && g_app_info_launch_uris(handler.get(), &uris, nullptr, nullptr) != FALSE;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string way = argc == 2 ? argv[1] : "";
    if (way != "portal" && way != "handler") {
        std::fputs(kHelp, way == "--help" ? stdout : stderr);
        return way == "--help" ? 0 : kBadUsage;
    }
    const Message message = readMessage();
    return (way == "portal" ? composeByPortal(message) : composeByHandler(message)) ? 0 : 1;
}
