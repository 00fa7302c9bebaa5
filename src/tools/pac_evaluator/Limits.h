#pragma once

/// What a script may use of the machine.
namespace limits {

/// Memory, the size of files, open files, no core dumps, no new rights. False if one cannot be set.
bool apply();

/// A few more seconds of processor time from now on; the process is ended when they are used up.
void allowOneCall();

}  // namespace limits
