#pragma once

#include <gio/gio.h>

namespace platform {

/// Opens a connection to the session bus that nobody else uses, so that it ends with its owner, without
/// waiting for it; only the look for the bus's address may block. `done` is called with `data` in the
/// thread's default context, and finishes with g_dbus_connection_new_for_address_finish(). False, with
/// `error` set, if there is no address; `done` is not called then.
bool connectToSessionBus(GCancellable* cancellable, GAsyncReadyCallback done, gpointer data, GError** error);

}  // namespace platform
