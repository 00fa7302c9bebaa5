#define _GNU_SOURCE
#include "dga_bus.h"

#include <gio/gio.h>
#include <pthread.h>
#include <stdint.h>
#include <string.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "orvane_dga_types.h"

#define OBJECT_PATH "/com/tellan/orvane/DistributedNotifications"
#define INTERFACE_NAME "com.tellan.orvane.DistributedNotifications"
#define MEMBER_NAME "Posted"
#define SIGNATURE "(ssa{sv})"
#define JSON_KEY "DgaJsonData"
#define TOKEN_KEY "activationToken"
#define OWNED_NAME_PREFIX "com.tellan.orvane.client.p"
#define READY_PREFIX "ORVANE_DGA_APP_READY_"
#define RESULT_PREFIX "ORVANE_DGA_REPORT_RESULT_"
#define MATCH_RULE \
    "type='signal',path='" OBJECT_PATH "',interface='" INTERFACE_NAME "',member='" MEMBER_NAME "'"

/* What the connection's worker thread and the caller share; the worker may still be in the filter while the
 * bus is being closed, so both hold it. One lock for all of them, as it is taken rarely and briefly. */
typedef struct {
    int holders;
    GHashTable* ready; /* user info of ready notifications, by their names */
    int wake_fd;
    DgaEvents* events;
    GPid pid; /* whose events they are; 0 while it is not known */
} Collected;

static pthread_mutex_t collected_lock = PTHREAD_MUTEX_INITIALIZER;

struct DgaBus {
    GMainContext* context;
    GDBusConnection* connection; /* NULL when there is no bus */
    GError* open_error;          /* why */
    Collected* collected;
    guint filter;
    gint collecting;   /* atomic */
    gint with_results; /* atomic */
    gboolean unnamed;  /* the bus refused the name, so a filter may hold back what is posted */
};

static Collected* collected_new(DgaEvents* events) {
    Collected* collected = g_new0(Collected, 1);
    pthread_mutex_lock(&collected_lock);
    collected->holders = 1;
    collected->ready =
        g_hash_table_new_full(g_str_hash, g_str_equal, g_free, (GDestroyNotify)g_variant_unref);
    collected->events = dga_events_ref(events);
    collected->wake_fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    pthread_mutex_unlock(&collected_lock);
    return collected;
}

static Collected* collected_hold(Collected* collected) {
    pthread_mutex_lock(&collected_lock);
    collected->holders++;
    pthread_mutex_unlock(&collected_lock);
    return collected;
}

static void collected_release(gpointer data) {
    Collected* collected = data;
    pthread_mutex_lock(&collected_lock);
    const gboolean last = --collected->holders == 0;
    if (last) {
        g_hash_table_unref(collected->ready);
        dga_events_unref(collected->events);
        if (collected->wake_fd >= 0) {
            close(collected->wake_fd);
        }
    }
    pthread_mutex_unlock(&collected_lock);
    if (last) {
        g_free(collected);
    }
}

static const char* text_in(GVariant* info, const char* key) {
    const char* text = NULL;
    g_variant_lookup(info, key, "&s", &text);
    return text;
}

/* Under the lock: whether the name is the base name of the assistant that is listened to. */
static gboolean is_of_assistant(const Collected* collected, const char* name, const char* prefix) {
    return collected->pid != 0 && g_str_has_prefix(name, prefix) &&
           g_ascii_strtoll(name + strlen(prefix), NULL, 10) == collected->pid;
}

/* Under the lock. */
static void tell_ready(const Collected* collected, GVariant* info) {
    gint32 protocol = 1;
    g_variant_lookup(info, "protocol", "i", &protocol);
    dga_events_add_ready(collected->events, protocol, text_in(info, "version"));
}

static void collected_add(Collected* collected, const char* name, GVariant* info) {
    const uint64_t one = 1;
    pthread_mutex_lock(&collected_lock);
    if (g_str_has_prefix(name, READY_PREFIX)) {
        g_hash_table_replace(collected->ready, g_strdup(name), g_variant_ref(info));
        if (collected->wake_fd >= 0 && write(collected->wake_fd, &one, sizeof one) < 0) {
            /* The counter is full: it is readable already. */
        }
    }
    if (is_of_assistant(collected, name, READY_PREFIX)) {
        tell_ready(collected, info);
    } else if (is_of_assistant(collected, name, RESULT_PREFIX)) {
        dga_events_add_result(collected->events, text_in(info, "number"), text_in(info, "state"),
                              text_in(info, "reason"));
    }
    pthread_mutex_unlock(&collected_lock);
}

/* From now on what this assistant has told and tells is handed on. */
static void collected_listen_to(Collected* collected, GPid pid) {
    char* name = g_strdup_printf("%s%d", READY_PREFIX, (int)pid);
    pthread_mutex_lock(&collected_lock);
    collected->pid = pid;
    GVariant* info = g_hash_table_lookup(collected->ready, name);
    if (info != NULL) {
        tell_ready(collected, info);
    }
    pthread_mutex_unlock(&collected_lock);
    g_free(name);
}

static gboolean collected_contains(Collected* collected, const char* name) {
    pthread_mutex_lock(&collected_lock);
    const gboolean found = g_hash_table_contains(collected->ready, name);
    pthread_mutex_unlock(&collected_lock);
    return found;
}

static gboolean is_posted_signal(GDBusMessage* message) {
    return g_dbus_message_get_message_type(message) == G_DBUS_MESSAGE_TYPE_SIGNAL &&
           g_strcmp0(g_dbus_message_get_path(message), OBJECT_PATH) == 0 &&
           g_strcmp0(g_dbus_message_get_interface(message), INTERFACE_NAME) == 0 &&
           g_strcmp0(g_dbus_message_get_member(message), MEMBER_NAME) == 0;
}

/* Runs on the connection's worker thread, so that nothing has to serve a main context in between. */
static GDBusMessage* collect(GDBusConnection* connection, GDBusMessage* message, gboolean incoming,
                             gpointer data) {
    (void)connection;
    Collected* collected = data;
    GVariant* body = g_dbus_message_get_body(message);
    if (!incoming || !is_posted_signal(message) || body == NULL ||
        !g_variant_is_of_type(body, G_VARIANT_TYPE(SIGNATURE))) {
        return message;
    }
    const char* name = NULL;
    g_variant_get_child(body, 0, "&s", &name);
    if (g_str_has_prefix(name, READY_PREFIX) || g_str_has_prefix(name, RESULT_PREFIX)) {
        GVariant* info = g_variant_get_child_value(body, 2);
        collected_add(collected, name, info);
        g_variant_unref(info);
    }
    return message;
}

/* A call that waits for the daemon's answer: when it returns, the rule is in force. */
static GVariant* call_daemon(GDBusConnection* connection, const char* method, GVariant* arguments,
                             GError** error) {
    return g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                       "org.freedesktop.DBus", method, arguments, NULL,
                                       G_DBUS_CALL_FLAGS_NO_AUTO_START, 5000, NULL, error);
}

static gboolean change_match(GDBusConnection* connection, const char* method, const char* rule,
                             GError** error) {
    GVariant* answer = call_daemon(connection, method, g_variant_new("(s)", rule), error);
    if (answer == NULL) {
        return FALSE;
    }
    g_variant_unref(answer);
    return TRUE;
}

static GDBusConnection* connect_to_bus(GError** error) {
    char* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, NULL, error);
    if (address == NULL) {
        return NULL;
    }
    GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
        address,
        G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION, NULL,
        NULL, error);
    g_free(address);
    return connection;
}

DgaBus* dga_bus_open(DgaEvents* events) {
    DgaBus* bus = g_new0(DgaBus, 1);
    bus->collected = collected_new(events);
    /* Takes what GDBus would otherwise dispatch in the caller's own one; served at the end only. */
    bus->context = g_main_context_new();
    g_main_context_push_thread_default(bus->context);
    bus->connection = connect_to_bus(&bus->open_error);
    if (bus->connection != NULL) {
        bus->filter = g_dbus_connection_add_filter(bus->connection, collect, collected_hold(bus->collected),
                                                   collected_release);
        if (change_match(bus->connection, "AddMatch", MATCH_RULE, &bus->open_error)) {
            bus->collecting = TRUE;
        } else {
            g_dbus_connection_remove_filter(bus->connection, bus->filter);
            g_clear_object(&bus->connection);
        }
    }
    g_main_context_pop_thread_default(bus->context);
    return bus;
}

void dga_bus_close(DgaBus* bus) {
    if (bus->connection != NULL) {
        g_dbus_connection_remove_filter(bus->connection, bus->filter);
        g_dbus_connection_close_sync(bus->connection, NULL, NULL);
        g_object_unref(bus->connection);
    }
    while (g_main_context_iteration(bus->context, FALSE)) {
        /* the filter's data is freed here */
    }
    g_main_context_unref(bus->context);
    collected_release(bus->collected);
    g_clear_error(&bus->open_error);
    g_free(bus);
}

void dga_bus_own_name(DgaBus* bus, GPid pid) {
    collected_listen_to(bus->collected, pid);
    if (bus->connection == NULL) {
        return;
    }
    const guint32 without_queue = 4; /* DBUS_NAME_FLAG_DO_NOT_QUEUE */
    const guint32 now_owner = 1;     /* DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER */
    guint32 reply = 0;
    char* name = g_strdup_printf("%s%d", OWNED_NAME_PREFIX, (int)pid);
    GVariant* answer =
        call_daemon(bus->connection, "RequestName", g_variant_new("(su)", name, without_queue), NULL);
    if (answer != NULL) {
        g_variant_get(answer, "(u)", &reply);
        g_variant_unref(answer);
    }
    bus->unnamed = reply != now_owner;
    if (bus->unnamed) {
        collected_listen_to(bus->collected, 0); /* it is the port that tells */
    }
    g_free(name);
}

void dga_bus_collect_results(DgaBus* bus) {
    if (bus->connection == NULL || bus->unnamed ||
        !g_atomic_int_compare_and_exchange(&bus->with_results, FALSE, TRUE)) {
        return;
    }
    char* rule = g_strdup_printf("%s,arg0='%s%d'", MATCH_RULE, RESULT_PREFIX, (int)bus->collected->pid);
    change_match(bus->connection, "AddMatch", rule, NULL);
    g_free(rule);
}

static gboolean check_connected(const DgaBus* bus, GError** error) {
    if (bus->connection == NULL) {
        g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_BUS, "no session bus: %s",
                    bus->open_error->message);
        return FALSE;
    }
    if (g_dbus_connection_is_closed(bus->connection)) {
        g_set_error_literal(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_BUS,
                            "the connection to the session bus was lost");
        return FALSE;
    }
    if (bus->unnamed) {
        g_set_error_literal(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_BUS,
                            "the session bus refuses the client's bus name");
        return FALSE;
    }
    return TRUE;
}

/* Returns once the bus itself has all that was sent: a filter in between drops what it still holds when its
 * client is gone. */
static gboolean reach_daemon(GDBusConnection* connection, GError** error) {
    GVariant* answer = call_daemon(connection, "GetId", NULL, error);
    if (answer == NULL) {
        return FALSE;
    }
    g_variant_unref(answer);
    return TRUE;
}

static GVariant* user_info(const char* json, const char* token) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a{sv}"));
    if (json != NULL) {
        g_variant_builder_add(&builder, "{sv}", JSON_KEY, g_variant_new_string(json));
    }
    if (token != NULL) {
        g_variant_builder_add(&builder, "{sv}", TOKEN_KEY, g_variant_new_string(token));
    }
    return g_variant_builder_end(&builder);
}

gboolean dga_bus_post(DgaBus* bus, const char* base, GPid pid, const char* json, const char* token,
                      GError** error) {
    if (json != NULL && !g_utf8_validate(json, -1, NULL)) {
        g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_TEXT, "the text for %s_%d is not UTF-8", base,
                    (int)pid);
        return FALSE;
    }
    if (!check_connected(bus, error)) {
        return FALSE;
    }
    char* name = g_strdup_printf("%s_%d", base, (int)pid);
    GError* reason = NULL;
    const gboolean sent = g_dbus_connection_emit_signal(
                              bus->connection, NULL, OBJECT_PATH, INTERFACE_NAME, MEMBER_NAME,
                              g_variant_new("(ss@a{sv})", name, "", user_info(json, token)), &reason) &&
                          reach_daemon(bus->connection, &reason);
    if (!sent) {
        g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_BUS, "%s could not be posted: %s", name,
                    reason->message);
        g_error_free(reason);
    }
    g_free(name);
    return sent;
}

gboolean dga_bus_is_ready(DgaBus* bus, GPid pid, GError** error) {
    char* name = g_strdup_printf("%s%d", READY_PREFIX, (int)pid);
    const gboolean ready = collected_contains(bus->collected, name);
    g_free(name);
    return ready || (check_connected(bus, error) && FALSE);
}

int dga_bus_wake_fd(DgaBus* bus) {
    return bus->connection == NULL ? -1 : bus->collected->wake_fd;
}

void dga_bus_clear_wake(DgaBus* bus) {
    uint64_t count = 0;
    if (read(bus->collected->wake_fd, &count, sizeof count) < 0) {
        return; /* nothing was there */
    }
}

void dga_bus_stop_collecting(DgaBus* bus) {
    if (bus->connection != NULL && g_atomic_int_compare_and_exchange(&bus->collecting, TRUE, FALSE)) {
        change_match(bus->connection, "RemoveMatch", MATCH_RULE, NULL);
    }
}
