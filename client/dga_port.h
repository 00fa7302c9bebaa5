/* A connection of the client library to the assistant's message port. */
#ifndef ORVANE_DGA_PORT_H
#define ORVANE_DGA_PORT_H

#include <glib.h>

#include "dga_events.h"

typedef struct DgaPort DgaPort;

/* Notes where the port can be; connects with the first message. What the assistant says on the connection
 * goes to the events, unless they are NULL. */
DgaPort* dga_port_new(DgaEvents* events);
void dga_port_free(DgaPort* port);

/* Any thread. */
void dga_port_set_timeout(DgaPort* port, guint timeout_ms);

/* Connects now, if the port is there. Whether there is a connection. Any thread. */
gboolean dga_port_try_connect(DgaPort* port, GPid pid);

/* Sends one message with that id to the port of the assistant with that process id. `alive` tells whether
 * waiting for the port still makes sense. Any thread; one message after another. */
gboolean dga_port_send(DgaPort* port, GPid pid, gint32 id, const char* text, gboolean (*alive)(void*),
                       void* data, GError** error);

#endif
