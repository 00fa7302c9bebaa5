/* A meeting client in one page: starts the assistant, tells it about a meeting, and leaves as planned.
 *     cc minimal.c $(pkg-config --cflags --libs orvane-dga-client) -o minimal
 *     ./minimal /opt/orvane/bin/orvanedga */
#include <stdio.h>
#include <unistd.h>

#include "orvane_dga_client.h"

static gboolean talk(OrvaneDga* dga, GError** error) {
    char* parameters = g_strdup_printf(
        "{\"serviceType\":1,\"processID\":\"%d\",\"activeLanguage\":0,"
        "\"clientVersion\":\"1.0\",\"confId\":\"123456\",\"userName\":\"Ann\"}",
        (int)getpid());
    /* A client sends the heartbeat every few seconds, and what changed in the meeting when it changes. */
    const gboolean done =
        orvane_dga_wait_ready(dga, 10000, error) && orvane_dga_send_parameters(dga, parameters, error) &&
        orvane_dga_heartbeat(dga, error) &&
        orvane_dga_update_meeting_data(dga, "{\"event\":{\"eventType\":1}}", error) &&
        orvane_dga_update_meeting_data(dga, "{\"audioQuality\":{\"sendQuality\":4}}", error) &&
        orvane_dga_quit(dga, error);
    g_free(parameters);
    return done;
}

int main(int argc, char** argv) {
    GError* error = NULL;
    OrvaneDga* dga = argc == 2 ? orvane_dga_start(argv[1], &error) : NULL;
    const gboolean done = dga != NULL && talk(dga, &error);
    if (!done) {
        fprintf(stderr, "%s\n", error != NULL ? error->message : "usage: minimal ASSISTANT");
        g_clear_error(&error);
    }
    orvane_dga_free(dga);
    return done ? 0 : 1;
}
