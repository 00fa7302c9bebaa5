#include "platform/net/InternetPassword.h"

#include <gio/gio.h>
#include <libsecret/secret.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/Report.h"
#include "platform/RunLoop.h"

namespace platform {
namespace {

constexpr std::chrono::seconds kLimit{2};
constexpr int kBusLimit = 1000;  // milliseconds
constexpr char kService[] = "org.freedesktop.secrets";

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
    void operator()(GVariant* variant) const { g_variant_unref(variant); }
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
    void operator()(SecretValue* value) const { secret_value_unref(value); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

struct Query {
    std::string server;
    uint16_t port;
    std::string protocol;
};

// A service that nobody runs is not started: it could only answer with a locked keyring.
bool serviceRuns(GCancellable* stop) {
    const Owned<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, stop, nullptr));
    if (!bus)
        return false;
    const Owned<GVariant> answer(
        g_dbus_connection_call_sync(bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                    "org.freedesktop.DBus", "NameHasOwner", g_variant_new("(s)", kService),
                                    G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, kBusLimit, stop, nullptr));
    gboolean owned = FALSE;
    if (answer)
        g_variant_get(answer.get(), "(b)", &owned);
    return owned;
}

std::string attribute(GHashTable* attributes, const char* name) {
    const auto* value = static_cast<const char*>(g_hash_table_lookup(attributes, name));
    return value ? value : "";
}

// 0 for an item of something else; the higher, the more it says about what was asked for.
int fit(GHashTable* attributes, const Query& query) {
    const std::string port = attribute(attributes, "port");
    const std::string protocol = attribute(attributes, "protocol");
    const bool anyPort = port.empty() || port == "0";
    if (!anyPort && port != std::to_string(query.port))
        return 0;
    if (!protocol.empty() && g_ascii_strcasecmp(protocol.c_str(), query.protocol.c_str()) != 0)
        return 0;
    return 1 + (anyPort ? 0 : 2) + (protocol.empty() ? 0 : 1);
}

struct Found {
    int fit = 0;
    InternetPassword password;
};

void consider(SecretItem* item, const Query& query, Found& best) {
    if (secret_item_get_locked(item))
        return;
    const Owned<GHashTable> attributes(secret_item_get_attributes(item));
    const Owned<SecretValue> value(secret_item_get_secret(item));
    if (!attributes || !value)
        return;
    const int itsFit = fit(attributes.get(), query);
    const char* text = secret_value_get_text(value.get());
    if (itsFit > best.fit && text)
        best = {itsFit, {attribute(attributes.get(), "user"), text}};
}

std::optional<InternetPassword> search(const Query& query, GCancellable* stop) {
    if (!serviceRuns(stop))
        return std::nullopt;
    // A connection of its own: the shared one would be bound to this thread's loop.
    const Owned<SecretService> service(
        secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION, stop, nullptr));
    if (!service)
        return std::nullopt;
    const Owned<GHashTable> attributes(g_hash_table_new(&g_str_hash, &g_str_equal));
    g_hash_table_insert(attributes.get(), const_cast<char*>("server"),
                        const_cast<char*>(query.server.c_str()));
    const auto flags = static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | SECRET_SEARCH_LOAD_SECRETS);
    GError* error = nullptr;
    GList* items = secret_service_search_sync(service.get(), SECRET_SCHEMA_COMPAT_NETWORK, attributes.get(),
                                              flags, stop, &error);
    if (error && !g_cancellable_is_cancelled(stop))
        reportNotice(std::string("the keyring could not be searched: ") + error->message);
    g_clear_error(&error);
    Found best;
    for (const GList* at = items; at; at = at->next)
        consider(static_cast<SecretItem*>(at->data), query, best);
    g_list_free_full(items, &g_object_unref);
    return best.fit > 0 ? std::optional(best.password) : std::nullopt;
}

// Shared by the caller's loop, where all but `stop` belongs, and the searching thread, which a service that
// does not answer may hold for long.
struct Search {
    std::function<void(const std::optional<InternetPassword>&)> found;
    std::unique_ptr<Timer> limit;
    Owned<GCancellable> stop{g_cancellable_new()};
    std::mutex mutex;
    RunLoop* loop = nullptr;  // until the end: the thread's may be gone later

    void end(const std::optional<InternetPassword>& password) {
        const auto tell = std::exchange(found, nullptr);
        limit.reset();
        {
            const std::lock_guard<std::mutex> hold(mutex);
            loop = nullptr;
        }
        if (tell)
            tell(password);
    }
};

}  // namespace

void findInternetPassword(const std::string& server, uint16_t port, const std::string& protocol,
                          std::function<void(const std::optional<InternetPassword>&)> found) {
    RunLoop& loop = RunLoop::current();
    const auto state = std::make_shared<Search>();
    state->found = std::move(found);
    state->loop = &loop;
    // The timer holds the state, and the end of the search the timer.
    state->limit = std::make_unique<Timer>(loop, kLimit, false, [state] {
        g_cancellable_cancel(state->stop.get());
        reportNotice("the keyring did not answer in time");
        state->end(std::nullopt);  // ends the timer, which goes on with a copy of this
    });
    try {
        std::thread([state, query = Query{server, port, protocol}] {
            auto password = search(query, state->stop.get());
            const std::lock_guard<std::mutex> hold(state->mutex);
            if (state->loop)
                state->loop->perform([state, password = std::move(password)] { state->end(password); });
        }).detach();
    } catch (const std::system_error&) {
        reportWarning("the keyring cannot be searched: there is no thread for it");
        loop.perform([state] { state->end(std::nullopt); });
    }
}

}  // namespace platform
