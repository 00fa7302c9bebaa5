#include "platform/net/NetworkChanges.h"

#include <gio/gio.h>

namespace platform {

uint64_t networkChanges() {
    static uint64_t changes = 0;
    static GNetworkMonitor* const monitor = [] {
        GNetworkMonitor* const made = g_network_monitor_get_default();
        const auto changed = [](GNetworkMonitor* /*monitor*/, gboolean /*available*/, gpointer count) {
            ++*static_cast<uint64_t*>(count);
        };
        if (made) {
            g_signal_connect(made, "network-changed",
                             G_CALLBACK(static_cast<void (*)(GNetworkMonitor*, gboolean, gpointer)>(changed)),
                             &changes);
        }
        return made;
    }();
    static_cast<void>(monitor);
    return changes;
}

}  // namespace platform
