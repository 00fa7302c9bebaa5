/* A client that says goodbye and waits for what comes of the goodbye's report: prints what it is told. */
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "orvane_dga_client.h"

static gint made; /* atomic */

static void told(const OrvaneDgaEvent* event, void* data) {
    if (event->kind == ORVANE_DGA_EVENT_READY) {
        printf("ready %d %s\n", event->protocol, event->version);
        /* Calls are allowed here. */
        orvane_dga_heartbeat(data, NULL);
        return;
    }
    printf("result %s %s %s\n", event->number, event->state, event->reason != NULL ? event->reason : "-");
    g_atomic_int_set(&made, strcmp(event->state, "made") == 0);
}

int main(int argc, char** argv) {
    OrvaneDga* dga = argc == 2 ? orvane_dga_start(argv[1], NULL) : NULL;
    if (dga == NULL) {
        return 2;
    }
    orvane_dga_set_callback(dga, told, dga);
    const gboolean asked =
        orvane_dga_wait_ready(dga, 10000, NULL) &&
        orvane_dga_send_parameters(dga, "{\"serviceType\":1,\"processID\":1,\"confId\":\"12\",\"UserID\":3}",
                                   NULL) &&
        orvane_dga_quit(dga, NULL);
    for (int i = 0; asked && i < 2000 && !g_atomic_int_get(&made); i++) {
        usleep(10000);
    }
    printf("protocol %d\n", orvane_dga_protocol(dga));
    orvane_dga_free(dga);
    return made ? 0 : 1;
}
