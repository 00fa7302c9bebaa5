#include "platform/SessionBus.h"

namespace platform {

bool connectToSessionBus(GCancellable* cancellable, GAsyncReadyCallback done, gpointer data, GError** error) {
    char* const address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, cancellable, error);
    if (!address)
        return false;
    g_dbus_connection_new_for_address(
        address,
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, cancellable, done, data);
    g_free(address);
    return true;
}

}  // namespace platform
