#include "platform/SaveDialogPortal.h"

#include <gio/gio.h>

#include <chrono>
#include <utility>

#include "platform/Report.h"
#include "platform/RunLoop.h"
#include "platform/SessionBus.h"

namespace platform {
namespace {

constexpr char kService[] = "org.freedesktop.portal.Desktop";
constexpr char kPath[] = "/org/freedesktop/portal/desktop";
constexpr char kChooser[] = "org.freedesktop.portal.FileChooser";
constexpr char kRequest[] = "org.freedesktop.portal.Request";
// It may have to be started. The user has all the time in the world: the call only opens the dialog.
constexpr int kMilliseconds = 10000;

constexpr guint32 kChosen = 0;
constexpr guint32 kCancelled = 1;
// Any other answer that comes sooner is of a dialog that nobody has seen. One that comes later, as GTK's
// portal tells of Escape, is the user's.
constexpr std::chrono::milliseconds kSoonestUser{500};

GVariant* saveArguments(const SaveDialogPortal::Question& question) {
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&options, "{sv}", "accept_label", g_variant_new_string(question.accept.c_str()));
    g_variant_builder_add(&options, "{sv}", "modal", g_variant_new_boolean(TRUE));
    g_variant_builder_add(&options, "{sv}", "current_name", g_variant_new_string(question.name.c_str()));
    g_variant_builder_add(&options, "{sv}", "current_folder",
                          g_variant_new_bytestring(question.folder.c_str()));
    return g_variant_new("(ssa{sv})", question.parent.c_str(), question.title.c_str(), &options);
}

std::string chosenPath(GVariant* results) {
    const char** uris = nullptr;
    g_variant_lookup(results, "uris", "^a&s", &uris);
    char* const path = uris && uris[0] ? g_filename_from_uri(uris[0], nullptr, nullptr) : nullptr;
    std::string chosen = path ? path : "";
    g_free(path);
    g_free(uris);
    return chosen;
}

}  // namespace

struct SaveDialogPortal::State {
    Question question;
    std::shared_ptr<Answered> answered;
    GCancellable* ended = g_cancellable_new();
    // Its own, so that every answer on it is to this question, and the dialog ends with it.
    GDBusConnection* bus = nullptr;
    guint responses = 0;
    std::chrono::steady_clock::time_point begun;

    ~State() {
        g_cancellable_cancel(ended);
        g_object_unref(ended);
        if (!bus)
            return;
        g_dbus_connection_signal_unsubscribe(bus, responses);
        g_dbus_connection_close(bus, nullptr, nullptr, nullptr);
        g_object_unref(bus);
    }

    void ask() {
        GError* error = nullptr;
        if (!connectToSessionBus(ended, &connected, this, &error))
            failed(error);
    }

    // From inside a signal or a call's end; whoever is told may end this object.
    void tell(End end, const std::string& path = {}) const {
        performOnMain([weak = std::weak_ptr(answered), end, path] {
            if (const auto told = weak.lock())
                (*told)(end, path);
        });
    }

    bool failed(GError* error) const {
        if (!error)
            return false;
        reportInfo(std::string("the desktop has no dialog for saving: ") + error->message);
        g_error_free(error);
        tell(End::unavailable);
        return true;
    }

    // After the end of this object nothing may use it: what was cancelled says so.
    static bool isOver(GError* error) {
        const bool over = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
        if (over)
            g_error_free(error);
        return over;
    }

    static void connected(GObject* /*source*/, GAsyncResult* result, gpointer data) {
        GError* error = nullptr;
        GDBusConnection* const made = g_dbus_connection_new_for_address_finish(result, &error);
        auto* const self = static_cast<State*>(data);
        if (isOver(error) || self->failed(error))
            return;
        self->bus = made;
        self->begun = std::chrono::steady_clock::now();
        // Before the call, as the answer may come at once.
        self->responses =
            g_dbus_connection_signal_subscribe(made, kService, kRequest, "Response", nullptr, nullptr,
                                               G_DBUS_SIGNAL_FLAGS_NONE, &responded, self, nullptr);
        g_dbus_connection_call(made, kService, kPath, kChooser, "SaveFile", saveArguments(self->question),
                               G_VARIANT_TYPE("(o)"), G_DBUS_CALL_FLAGS_NONE, kMilliseconds, self->ended,
                               &asked, self);
    }

    static void asked(GObject* source, GAsyncResult* result, gpointer data) {
        GError* error = nullptr;
        GVariant* const answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
        if (answer)
            g_variant_unref(answer);
        else if (!isOver(error))
            static_cast<State*>(data)->failed(error);
    }

    static void responded(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
                          const gchar* /*interface*/, const gchar* /*signal*/, GVariant* parameters,
                          gpointer data) {
        if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ua{sv})")))
            return;
        guint32 code = 0;
        GVariant* results = nullptr;
        g_variant_get(parameters, "(u@a{sv})", &code, &results);
        const std::string path = code == kChosen ? chosenPath(results) : "";
        g_variant_unref(results);
        const auto* const self = static_cast<State*>(data);
        const bool wasSeen = std::chrono::steady_clock::now() - self->begun >= kSoonestUser;
        const End end = !path.empty()                   ? End::chosen
                        : code == kCancelled || wasSeen ? End::cancelled
                                                        : End::unavailable;
        self->tell(end, path);
    }
};

SaveDialogPortal::SaveDialogPortal(Question question, Answered answered) : state_(std::make_unique<State>()) {
    state_->question = std::move(question);
    state_->answered = std::make_shared<Answered>(std::move(answered));
    state_->ask();
}

SaveDialogPortal::~SaveDialogPortal() = default;

}  // namespace platform
