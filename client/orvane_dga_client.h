/**
 * @file
 * The meeting client's side of the troubleshooting assistant: starts the assistant, tells it what it has
 * to know and learns how it ended.
 *
 * A client's life with it:
 *
 *     GError* error = NULL;
 *     OrvaneDga* dga = orvane_dga_start("/opt/orvane/bin/orvanedga", &error);
 *     if (dga != NULL && orvane_dga_wait_ready(dga, 10000, &error)) {
 *         orvane_dga_send_parameters(dga, "{\"processID\":4711, ...}", &error);
 *         ...every few seconds: orvane_dga_heartbeat(dga, &error);
 *         ...when the meeting's state changes: orvane_dga_update_meeting_data(dga, json, &error);
 *         orvane_dga_quit(dga, &error);
 *     }
 *     orvane_dga_free(dga);
 *
 * Two ways lead to the assistant. Notifications (parameters, heartbeat, report, quit) are signals on the
 * session bus, sent by the owner of the bus name com.tellan.orvane.client.p<the assistant's process id>, so
 * that a bus that filters by names can let them through; meeting data goes over the assistant's own local
 * socket, the message port. Neither is answered; what comes of a report, the assistant tells by itself
 * (orvane_dga_set_callback()). Where there is no session bus, or it refuses the name,
 * notifications take the message port as well, and the assistant counts as ready once its port is open.
 *
 * Main loops: the library needs none and touches none of the caller's; it may be used beside a running
 * one. It has a bus connection of its own, so that the loss of the bus never ends the caller.
 *
 * Threads: orvane_dga_start() and all calls on an object may be made from any thread, also several at a
 * time, with two exceptions: orvane_dga_wait_ready() is for one thread at a time, and orvane_dga_free()
 * must be the last call, after every other one has returned. Messages that one thread sends arrive in
 * their order, notifications among themselves and meeting data among itself; between the two kinds, and
 * between threads, there is no order. The state, alive and pid calls never wait. Notifications wait
 * until the bus connection has taken them, or without a bus as meeting data does; that and the two wait
 * calls say below how long.
 *
 * Signals: no call raises SIGPIPE; GIO, once it is used, ignores it for the whole process. The caller must
 * not ignore SIGCHLD nor collect the assistant with wait() or waitpid(-1): the exit status would be lost
 * (ORVANE_DGA_STATE_UNKNOWN).
 *
 * Errors: every call that can fail takes a GError**, which may be NULL, and fails with a code of the
 * domain ORVANE_DGA_ERROR and a message in English that names what failed and why.
 */
#ifndef ORVANE_DGA_CLIENT_H
#define ORVANE_DGA_CLIENT_H

#include <glib.h>

#include "orvane_dga_types.h"

G_BEGIN_DECLS

/** A started assistant. */
typedef struct OrvaneDga OrvaneDga;

typedef enum {
    ORVANE_DGA_STATE_RUNNING, /**< It lives. */
    ORVANE_DGA_STATE_EXITED,  /**< It has exited with a status. */
    ORVANE_DGA_STATE_KILLED,  /**< A signal has ended it. */
    ORVANE_DGA_STATE_UNKNOWN  /**< It has ended, but somebody else has taken its status. */
} OrvaneDgaState;

/**
 * Starts the assistant as a child of the calling process, without arguments and with the caller's
 * environment, standard output and standard error.
 *
 * XDG_RUNTIME_DIR and DBUS_SESSION_BUS_ADDRESS are read here and not again.
 *
 * @param path the assistant's program, absolute or relative to the working folder; not searched in PATH.
 * @return the started assistant, to be given to orvane_dga_free(), or NULL with ORVANE_DGA_ERROR_START.
 */
ORVANE_DGA_API OrvaneDga* orvane_dga_start(const char* path, GError** error);

/**
 * Forgets the assistant and frees everything. NULL is allowed.
 *
 * The assistant is neither told nor ended: it is meant to outlive a client. If it still runs and the
 * caller stays alive, it remains as a zombie once it has ended, until the caller ends; a caller that
 * minds calls orvane_dga_quit() and orvane_dga_wait_exit() first.
 */
ORVANE_DGA_API void orvane_dga_free(OrvaneDga* dga);

/** The assistant's process id, also after its end. */
ORVANE_DGA_API GPid orvane_dga_pid(const OrvaneDga* dga);

/**
 * Waits until the assistant has said that it listens; notifications sent earlier are lost. Without a session
 * bus it waits for the message port, and nothing is lost.
 *
 * Returns at once when it has said so before, even before this call. May be repeated after a timeout.
 *
 * @param timeout_ms how long to wait at most; 0 only looks.
 * @return TRUE when ready. FALSE with ORVANE_DGA_ERROR_TIMEOUT; with ORVANE_DGA_ERROR_ENDED as soon as
 *     the assistant has ended instead.
 */
ORVANE_DGA_API gboolean orvane_dga_wait_ready(OrvaneDga* dga, guint timeout_ms, GError** error);

/**
 * The version of the protocol that the assistant speaks: 2 since it tells what comes of reports. An older one
 * counts as 1. 0 while the assistant has not said that it is ready. Without a session bus it is 1 with
 * orvane_dga_wait_ready(), and what the assistant says soon after, with its first answer.
 */
ORVANE_DGA_API int orvane_dga_protocol(OrvaneDga* dga);

/**
 * Has a function called for what the assistant tells: once that it is ready (also if it was before this
 * call), and what comes of each report, in order. An assistant of protocol 1 tells of no reports.
 *
 * It is called on a thread of the library, one call at a time. It may make all calls on the object but this
 * one and orvane_dga_free(). While it does not return, further events wait, 256 at most.
 *
 * @param callback replaces the one before; with NULL there is none, and none runs any more after the return.
 * @param data is handed to it.
 */
ORVANE_DGA_API void orvane_dga_set_callback(OrvaneDga* dga, OrvaneDgaCallback callback, void* data);

/**
 * Sends the session parameters. May be repeated; each message replaces the values before.
 *
 * @param json a JSON object in UTF-8. It is passed on as it is and not checked for being JSON.
 * @return TRUE when it was handed over. FALSE with ORVANE_DGA_ERROR_BUS or ORVANE_DGA_ERROR_TEXT.
 */
ORVANE_DGA_API gboolean orvane_dga_send_parameters(OrvaneDga* dga, const char* json, GError** error);

/**
 * Tells the assistant that the client works. After 180 seconds without it, the assistant takes a client
 * that still runs for frozen.
 * @return TRUE when it was handed over. FALSE with ORVANE_DGA_ERROR_BUS.
 */
ORVANE_DGA_API gboolean orvane_dga_heartbeat(OrvaneDga* dga, GError** error);

/**
 * Gives the assistant the right to put its window before others: a token of the desktop, as Wayland's
 * xdg-activation makes them (with GTK g_app_launch_context_get_startup_notify_id()), asked for when the user
 * presses what asks for the window. It goes with the next orvane_dga_request_report() or
 * orvane_dga_report_and_exit(), once; without a session bus with the former only. An assistant that knows no
 * tokens ignores it.
 *
 * @param token printable ASCII characters without quotes, backslashes and blanks; NULL, "" or anything else
 *     takes an earlier one away.
 */
ORVANE_DGA_API void orvane_dga_set_activation_token(OrvaneDga* dga, const char* token);

/**
 * Asks the assistant to show its problem report window.
 * @return TRUE when it was handed over. FALSE with ORVANE_DGA_ERROR_BUS.
 */
ORVANE_DGA_API gboolean orvane_dga_request_report(OrvaneDga* dga, GError** error);

/**
 * Asks the assistant to show its problem report window and to end once it is closed.
 * @param json the session parameters, as for orvane_dga_send_parameters(), or NULL to leave them.
 * @return TRUE when it was handed over. FALSE with ORVANE_DGA_ERROR_BUS or ORVANE_DGA_ERROR_TEXT.
 */
ORVANE_DGA_API gboolean orvane_dga_report_and_exit(OrvaneDga* dga, const char* json, GError** error);

/**
 * Says goodbye: the client ends as planned. A client that vanishes without it counts as crashed. The
 * caller may end, even be killed, as soon as this has returned.
 * @return TRUE when it was handed over. FALSE with ORVANE_DGA_ERROR_BUS.
 */
ORVANE_DGA_API gboolean orvane_dga_quit(OrvaneDga* dga, GError** error);

/**
 * Sends one meeting-data message over the message port.
 *
 * The first call connects and, because the assistant opens its port shortly after it is ready, tries
 * until that works or the port timeout is over. Each call writes the whole message and waits as long as
 * the assistant keeps reading; when it reads nothing for the port timeout, the call fails.
 *
 * Failures with ORVANE_DGA_ERROR_PORT are final: the connection is gone, a part of the message may have
 * arrived, and every later call fails at once with the same error. Only a message that is too long or
 * not UTF-8 leaves the connection as it was.
 *
 * @param json a JSON object in UTF-8 of at most ORVANE_DGA_MESSAGE_MAX bytes. Not checked for being JSON.
 * @return TRUE when the whole message was handed over. FALSE with ORVANE_DGA_ERROR_PORT,
 *     ORVANE_DGA_ERROR_TOO_LONG or ORVANE_DGA_ERROR_TEXT.
 */
ORVANE_DGA_API gboolean orvane_dga_send_meeting_data(OrvaneDga* dga, const char* json, GError** error);

/**
 * Sends what has changed in the meeting: merges it into all that this call was given before, and sends the
 * whole as orvane_dga_send_meeting_data() does, which would read what is missing as 0.
 *
 * Until told otherwise the network is good (networkStatus 1) and all else 0. "event" goes with its message
 * only and is not remembered. Messages of several threads are merged one after another, but may be sent in
 * another order: let one thread send.
 *
 * @param json a JSON object of objects of 32-bit integers, such as {"audioQuality":{"sendQuality":3}}. Names
 *     consist of ASCII letters, digits and underscores. With anything else nothing is merged or sent.
 * @return as orvane_dga_send_meeting_data(); ORVANE_DGA_ERROR_TEXT also for a text of another form.
 */
ORVANE_DGA_API gboolean orvane_dga_update_meeting_data(OrvaneDga* dga, const char* json, GError** error);

/** Sets the port timeout of orvane_dga_send_meeting_data(): 5000 milliseconds unless set. */
ORVANE_DGA_API void orvane_dga_set_port_timeout(OrvaneDga* dga, guint timeout_ms);

/**
 * Whether and how the assistant has ended.
 * @param code receives the exit status (EXITED), the signal's number (KILLED) or 0. May be NULL.
 */
ORVANE_DGA_API OrvaneDgaState orvane_dga_state(OrvaneDga* dga, int* code);

/** Whether the assistant's process still runs. */
ORVANE_DGA_API gboolean orvane_dga_is_alive(OrvaneDga* dga);

/**
 * Waits until the assistant has ended.
 * @param timeout_ms how long to wait at most; 0 only looks.
 * @return TRUE when it has ended: orvane_dga_state() tells how. FALSE with ORVANE_DGA_ERROR_TIMEOUT.
 */
ORVANE_DGA_API gboolean orvane_dga_wait_exit(OrvaneDga* dga, guint timeout_ms, GError** error);

G_END_DECLS

#endif /* ORVANE_DGA_CLIENT_H */
