#pragma once

#include <sys/types.h>

namespace platform {

/// Ends a process at once, as "/bin/kill -9 <process>" does, and returns when that command has ended. False
/// if the command cannot be started or fails. Processes 1 and below are never touched.
bool killProcess(pid_t process);

}  // namespace platform
