/* The notification side of the client library: a private connection to the session bus. */
#ifndef ORVANE_DGA_BUS_H
#define ORVANE_DGA_BUS_H

#include <glib.h>

#include "dga_events.h"

typedef struct DgaBus DgaBus;

/* Connects and starts to collect ready notifications: one that is posted after the return is not missed.
 * What the assistant whose name is owned later tells goes to the events. Never NULL; a failure to connect is
 * kept and answers every later call. */
DgaBus* dga_bus_open(DgaEvents* events);
void dga_bus_close(DgaBus* bus);

/* Takes the name under which a filtered bus lets the client's notifications through to the assistant of that
 * process id. Where the bus refuses it, later calls fail as without a bus. Once, before anything is posted.
 */
void dga_bus_own_name(DgaBus* bus, GPid pid);

/* Has what comes of reports told as well; nothing without a bus. After the above. */
void dga_bus_collect_results(DgaBus* bus);

/* Posts "<base>_<pid>" with the JSON text and the activation token, unless these are NULL, and returns once
 * the bus has it. Any thread. */
gboolean dga_bus_post(DgaBus* bus, const char* base, GPid pid, const char* json, const char* token,
                      GError** error);

/* Whether the assistant of that process id has posted its ready notification. FALSE without an error
 * means: not yet. */
gboolean dga_bus_is_ready(DgaBus* bus, GPid pid, GError** error);

/* Becomes readable when a ready notification has come; -1 without a bus. */
int dga_bus_wake_fd(DgaBus* bus);

/* Empties the above. */
void dga_bus_clear_wake(DgaBus* bus);

/* Ends the collecting once the one that was waited for is known. */
void dga_bus_stop_collecting(DgaBus* bus);

#endif
