/* The meeting's state as the client has told it so far, in pieces. */
#ifndef ORVANE_DGA_MEETING_H
#define ORVANE_DGA_MEETING_H

#include <glib.h>

typedef struct DgaMeeting DgaMeeting;

DgaMeeting* dga_meeting_new(void);
void dga_meeting_free(DgaMeeting* meeting);

/* Merges {"section":{"key":integer}} into the state and returns all of it as JSON text, to be freed; NULL
 * with ORVANE_DGA_ERROR_TEXT, and nothing merged, for anything else. Any thread. */
char* dga_meeting_merge(DgaMeeting* meeting, const char* json, GError** error);

#endif
