#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>

namespace platform {

/// The processes of the machine as a listing with four columns, one line each, busiest first:
///
///     PID %CPU RSS COMM
///     4711 12.5 204800 /opt/orvane/bin/orvane
///
/// %CPU is the share of one core since the newest reading of this object that is at least a second old;
/// over the process's life when there is none, or when the process is not in it. RSS is in kilobytes. COMM is
/// the executable's full path; of a process whose executable may not be seen, the path it was started by;
/// without either (kernel tasks, zombies) its bare name, in which a "/" is shown as ":" so that only paths
/// have one. Characters that would break a line, or are no UTF-8, are shown as "?", and a path that is too
/// long for a line of 4094 bytes loses its leading folders.
class ProcessListing {
public:
    explicit ProcessListing(std::string procRoot = "/proc");
    ~ProcessListing();
    ProcessListing(const ProcessListing&) = delete;
    ProcessListing& operator=(const ProcessListing&) = delete;

    /// Takes a reading. Processes that end meanwhile are left out; none if `procRoot` is not readable. Any
    /// thread.
    std::optional<std::string> read();

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The executable of a live process of this user, unprintable characters shown as "?"; none for a zombie,
/// another user's process and one that is not there.
std::optional<std::string> executablePathOf(pid_t pid, const std::string& procRoot = "/proc");

}  // namespace platform
