#pragma once

#include <cstdint>

namespace platform {

/// How often the machine's networks have changed since the first call, which begins to watch them
/// (GNetworkMonitor: routes come and go). Main thread, whose loop learns of the changes.
uint64_t networkChanges();

}  // namespace platform
