#pragma once

/// Takes from this process what it no longer needs, for good, as far as the kernel can: seccomp filters,
/// Landlock. A call that is refused fails with EPERM; whatever a script does to the engine, it reaches
/// nothing but memory and the assistant's answers. All return false if the kernel has a means and does not
/// apply it.
namespace sandbox {

/// Memory can no longer be made executable. Before the engine is made, which then does without.
bool forbidNewCode();

/// Landlock's part of seal(), for the calling thread: everything that the kernel's version of it can forbid,
/// with no exception. No file is to be opened or changed, no port bound or connected to, nobody outside
/// signalled. True also where the kernel has no Landlock, or it is switched off.
bool forbidOutside();

/// Nothing but computing, memory and messages over this one socket: no files, no other descriptors, no
/// sockets, no processes, no signals to others.
bool seal(int socket);

}  // namespace sandbox
