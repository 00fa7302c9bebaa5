/* What the assistant tells its client, whichever way it came: kept, and handed to the client's callback. */
#ifndef ORVANE_DGA_EVENTS_H
#define ORVANE_DGA_EVENTS_H

#include <glib.h>

#include "orvane_dga_types.h"

typedef struct DgaEvents DgaEvents;

DgaEvents* dga_events_new(void);
DgaEvents* dga_events_ref(DgaEvents* events);
void dga_events_unref(DgaEvents* events);

/* The assistant is ready; only the first one counts. Any thread, as all that follow. */
void dga_events_add_ready(DgaEvents* events, int protocol, const char* version);

/* Something came of a report. Without a callback it is forgotten. */
void dga_events_add_result(DgaEvents* events, const char* number, const char* state, const char* reason);

/* A frame of the message port; of unknown ids nothing. */
void dga_events_add_frame(DgaEvents* events, gint32 id, const char* json);

/* 0 before the assistant is ready. */
int dga_events_protocol(DgaEvents* events);

/* Calls back from a thread of its own; NULL ends that, and returns when no call runs any more. */
void dga_events_set_callback(DgaEvents* events, OrvaneDgaCallback callback, void* data);

#endif
