#define _GNU_SOURCE
#include "orvane_dga_client.h"

#include <errno.h>
#include <poll.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "dga_bus.h"
#include "dga_events.h"
#include "dga_meeting.h"
#include "dga_port.h"

/* How often the child is looked at where the kernel gives no handle to wait on. */
#define LOOK_INTERVAL_MS 50

/* How often a port that is not there yet is tried. */
#define CONNECT_INTERVAL_MS 5

/* Ids of messages on the port: of meeting data, and of the notifications without a bus. */
#define MEETING_DATA_ID 0
#define FIRST_NOTIFICATION_ID 0x4F564401

typedef enum { PARAMETERS, KEEP_ALIVE, GENERATE_REPORT, GENERATE_REPORT_AND_EXIT, APP_EXIT } Notification;
static const char* const notification_names[] = {
    "ORVANE_DGA_PASSING_JSON_DATA",        "ORVANE_DGA_KEEP_ALIVE", "ORVANE_DGA_GENERATE_REPORT",
    "ORVANE_DGA_GENERATE_REPORT_AND_EXIT", "ORVANE_DGA_APP_EXIT",
};

struct OrvaneDga {
    GPid pid;
    int pid_fd; /* becomes readable when the assistant ends; -1 if the kernel cannot */
    DgaEvents* events;
    DgaBus* bus;
    DgaPort* port;
    DgaPort* notification_port; /* for a client without a bus */
    DgaMeeting* meeting;
    gint ready_by_port; /* atomic */
    GMutex lock;        /* guards what follows: the child is collected once */
    OrvaneDgaState state;
    int code;
    char* activation_token; /* for the next window that is asked for; NULL if there is none */
};

G_DEFINE_QUARK(orvane - dga - error - quark, orvane_dga_error)

OrvaneDga* orvane_dga_start(const char* path, GError** error) {
    g_return_val_if_fail(path != NULL, NULL);
    /* Before the child exists, so that its ready notification cannot come too early. */
    DgaEvents* events = dga_events_new();
    DgaBus* bus = dga_bus_open(events);
    /* A bare name is a file of the working folder, too. */
    char* program = strchr(path, '/') != NULL ? g_strdup(path) : g_strconcat("./", path, NULL);
    char* arguments[] = {program, NULL};
    GPid pid = 0;
    GError* reason = NULL;
    const gboolean started =
        g_spawn_async(NULL, arguments, NULL, G_SPAWN_DO_NOT_REAP_CHILD, NULL, NULL, &pid, &reason);
    g_free(program);
    if (!started) {
        g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_START, "%s could not be started: %s", path,
                    reason->message);
        g_error_free(reason);
        dga_bus_close(bus);
        dga_events_unref(events);
        return NULL;
    }
    dga_bus_own_name(bus, pid);
    OrvaneDga* dga = g_new0(OrvaneDga, 1);
    dga->pid = pid;
    dga->pid_fd = (int)syscall(SYS_pidfd_open, pid, 0);
    dga->events = events;
    dga->bus = bus;
    dga->port = dga_port_new(NULL);
    dga->notification_port = dga_port_new(events);
    dga->meeting = dga_meeting_new();
    g_mutex_init(&dga->lock);
    dga->state = ORVANE_DGA_STATE_RUNNING;
    return dga;
}

void orvane_dga_free(OrvaneDga* dga) {
    if (dga == NULL) {
        return;
    }
    dga_events_set_callback(dga->events, NULL, NULL);
    orvane_dga_state(dga, NULL); /* collects a child that has ended */
    dga_meeting_free(dga->meeting);
    dga_port_free(dga->notification_port);
    dga_port_free(dga->port);
    dga_bus_close(dga->bus);
    dga_events_unref(dga->events);
    if (dga->pid_fd >= 0) {
        close(dga->pid_fd);
    }
    g_mutex_clear(&dga->lock);
    g_free(dga->activation_token);
    g_free(dga);
}

GPid orvane_dga_pid(const OrvaneDga* dga) {
    g_return_val_if_fail(dga != NULL, 0);
    return dga->pid;
}

OrvaneDgaState orvane_dga_state(OrvaneDga* dga, int* code) {
    g_return_val_if_fail(dga != NULL, ORVANE_DGA_STATE_UNKNOWN);
    g_mutex_lock(&dga->lock);
    if (dga->state == ORVANE_DGA_STATE_RUNNING) {
        int status = 0;
        pid_t ended;
        do {
            ended = waitpid(dga->pid, &status, WNOHANG);
        } while (ended < 0 && errno == EINTR);
        if (ended < 0) {
            dga->state = ORVANE_DGA_STATE_UNKNOWN;
        } else if (ended > 0 && WIFEXITED(status)) {
            dga->state = ORVANE_DGA_STATE_EXITED;
            dga->code = WEXITSTATUS(status);
        } else if (ended > 0 && WIFSIGNALED(status)) {
            dga->state = ORVANE_DGA_STATE_KILLED;
            dga->code = WTERMSIG(status);
        }
    }
    const OrvaneDgaState state = dga->state;
    if (code != NULL) {
        *code = dga->code;
    }
    g_mutex_unlock(&dga->lock);
    return state;
}

gboolean orvane_dga_is_alive(OrvaneDga* dga) {
    return orvane_dga_state(dga, NULL) == ORVANE_DGA_STATE_RUNNING;
}

/* Sleeps until the assistant ends, `wake_fd` becomes readable or the deadline comes; may return early.
 * FALSE when the deadline had come already. */
static gboolean wait_for_news(const OrvaneDga* dga, int wake_fd, int longest_ms, gint64 deadline) {
    const gint64 left_us = deadline - g_get_monotonic_time();
    if (left_us <= 0) {
        return FALSE;
    }
    struct pollfd waiting[2] = {{.fd = dga->pid_fd, .events = POLLIN}, {.fd = wake_fd, .events = POLLIN}};
    const gint64 longest = dga->pid_fd >= 0 ? longest_ms : LOOK_INTERVAL_MS;
    poll(waiting, G_N_ELEMENTS(waiting), (int)MIN((left_us + 999) / 1000, longest));
    return TRUE;
}

static gint64 deadline_after(guint timeout_ms) {
    return g_get_monotonic_time() + (gint64)timeout_ms * 1000;
}

gboolean orvane_dga_wait_ready(OrvaneDga* dga, guint timeout_ms, GError** error) {
    g_return_val_if_fail(dga != NULL, FALSE);
    const gint64 deadline = deadline_after(timeout_ms);
    for (;;) {
        GError* bus_error = NULL;
        const gboolean alive = orvane_dga_is_alive(dga);
        if (dga_bus_is_ready(dga->bus, dga->pid, &bus_error)) {
            dga_bus_stop_collecting(dga->bus);
            return TRUE;
        }
        const gboolean with_bus = bus_error == NULL;
        g_clear_error(&bus_error);
        if (!with_bus && dga_port_try_connect(dga->notification_port, dga->pid)) {
            g_atomic_int_set(&dga->ready_by_port, TRUE);
            orvane_dga_heartbeat(dga, NULL); /* a newer assistant answers the first notification */
            return TRUE;
        }
        if (!alive) {
            g_set_error_literal(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_ENDED,
                                "the assistant ended before it was ready");
            return FALSE;
        }
        /* The lost bus wakes nobody; look for it now and then. */
        if (!wait_for_news(dga, with_bus ? dga_bus_wake_fd(dga->bus) : -1,
                           with_bus ? 500 : CONNECT_INTERVAL_MS, deadline)) {
            g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_TIMEOUT,
                        "the assistant was not ready within %u ms", timeout_ms);
            return FALSE;
        }
        dga_bus_clear_wake(dga->bus);
    }
}

int orvane_dga_protocol(OrvaneDga* dga) {
    g_return_val_if_fail(dga != NULL, 0);
    const int told = dga_events_protocol(dga->events);
    return told == 0 && g_atomic_int_get(&dga->ready_by_port) ? 1 : told;
}

void orvane_dga_set_callback(OrvaneDga* dga, OrvaneDgaCallback callback, void* data) {
    g_return_if_fail(dga != NULL);
    if (callback != NULL) {
        dga_bus_collect_results(dga->bus);
    }
    dga_events_set_callback(dga->events, callback, data);
}

gboolean orvane_dga_wait_exit(OrvaneDga* dga, guint timeout_ms, GError** error) {
    g_return_val_if_fail(dga != NULL, FALSE);
    const gint64 deadline = deadline_after(timeout_ms);
    while (orvane_dga_is_alive(dga)) {
        if (!wait_for_news(dga, -1, G_MAXINT, deadline)) {
            g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_TIMEOUT,
                        "the assistant did not end within %u ms", timeout_ms);
            return FALSE;
        }
    }
    return TRUE;
}

static gboolean still_alive(void* dga) {
    return orvane_dga_is_alive(dga);
}

/* Over the bus, else over the port. */
static gboolean notify(OrvaneDga* dga, Notification what, const char* json, const char* token,
                       GError** error) {
    GError* bus_error = NULL;
    if (dga_bus_post(dga->bus, notification_names[what], dga->pid, json, token, &bus_error)) {
        return TRUE;
    }
    if (!g_error_matches(bus_error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_BUS)) {
        g_propagate_error(error, bus_error);
        return FALSE;
    }
    GError* port_error = NULL;
    /* The text of the others is the session parameters. */
    char* members = what == GENERATE_REPORT && token != NULL
                        ? g_strdup_printf("{\"activationToken\":\"%s\"}", token)
                        : g_strdup(json != NULL ? json : "");
    const gboolean sent = dga_port_send(dga->notification_port, dga->pid, FIRST_NOTIFICATION_ID + (int)what,
                                        members, still_alive, dga, &port_error);
    g_free(members);
    if (!sent && g_error_matches(port_error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_PORT)) {
        g_set_error(error, ORVANE_DGA_ERROR, ORVANE_DGA_ERROR_BUS, "%s; %s", bus_error->message,
                    port_error->message);
        g_error_free(port_error);
    } else if (!sent) {
        g_propagate_error(error, port_error);
    }
    g_error_free(bus_error);
    return sent;
}

gboolean orvane_dga_send_parameters(OrvaneDga* dga, const char* json, GError** error) {
    g_return_val_if_fail(dga != NULL && json != NULL, FALSE);
    return notify(dga, PARAMETERS, json, NULL, error);
}

gboolean orvane_dga_heartbeat(OrvaneDga* dga, GError** error) {
    g_return_val_if_fail(dga != NULL, FALSE);
    return notify(dga, KEEP_ALIVE, NULL, NULL, error);
}

static gboolean is_plain(const char* text) {
    while (g_ascii_isgraph(*text) && *text != '"' && *text != '\\') {
        text++;
    }
    return *text == '\0';
}

void orvane_dga_set_activation_token(OrvaneDga* dga, const char* token) {
    g_return_if_fail(dga != NULL);
    g_mutex_lock(&dga->lock);
    g_free(dga->activation_token);
    dga->activation_token = token != NULL && token[0] != '\0' && is_plain(token) ? g_strdup(token) : NULL;
    g_mutex_unlock(&dga->lock);
}

static gboolean ask_for_window(OrvaneDga* dga, Notification what, const char* json, GError** error) {
    g_mutex_lock(&dga->lock);
    char* token = g_steal_pointer(&dga->activation_token);
    g_mutex_unlock(&dga->lock);
    const gboolean sent = notify(dga, what, json, token, error);
    g_free(token);
    return sent;
}

gboolean orvane_dga_request_report(OrvaneDga* dga, GError** error) {
    g_return_val_if_fail(dga != NULL, FALSE);
    return ask_for_window(dga, GENERATE_REPORT, NULL, error);
}

gboolean orvane_dga_report_and_exit(OrvaneDga* dga, const char* json, GError** error) {
    g_return_val_if_fail(dga != NULL, FALSE);
    return ask_for_window(dga, GENERATE_REPORT_AND_EXIT, json, error);
}

gboolean orvane_dga_quit(OrvaneDga* dga, GError** error) {
    g_return_val_if_fail(dga != NULL, FALSE);
    return notify(dga, APP_EXIT, NULL, NULL, error);
}

gboolean orvane_dga_send_meeting_data(OrvaneDga* dga, const char* json, GError** error) {
    g_return_val_if_fail(dga != NULL && json != NULL, FALSE);
    return dga_port_send(dga->port, dga->pid, MEETING_DATA_ID, json, still_alive, dga, error);
}

gboolean orvane_dga_update_meeting_data(OrvaneDga* dga, const char* json, GError** error) {
    g_return_val_if_fail(dga != NULL && json != NULL, FALSE);
    char* whole = dga_meeting_merge(dga->meeting, json, error);
    const gboolean sent = whole != NULL && orvane_dga_send_meeting_data(dga, whole, error);
    g_free(whole);
    return sent;
}

void orvane_dga_set_port_timeout(OrvaneDga* dga, guint timeout_ms) {
    g_return_if_fail(dga != NULL);
    dga_port_set_timeout(dga->port, timeout_ms);
    dga_port_set_timeout(dga->notification_port, timeout_ms);
}
