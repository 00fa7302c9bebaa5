#pragma once

#include <optional>
#include <string>

#include "platform/RunningApplications.h"

namespace platform {

/// One process of the user, held fast: who gets its process id after it is never taken for it. It is pinned
/// by its start time and, where the kernel has them, by a process handle (pidfd_open(2), Linux 5.3). Used by
/// one thread at a time.
class PinnedProcess {
public:
    enum class Kill {
        sent,      ///< the process has got the signal
        gone,      ///< it does not run any more, or cannot be told from another one just now
        noHandle,  ///< it runs, but this kernel has no handles: its process id is all there is
    };

    /// No process: it is gone.
    PinnedProcess() = default;

    /// The process that has this id in decimal at the moment. If there is none it is gone for good, whoever
    /// gets the id later.
    PinnedProcess(const RunningApplications& applications, std::string text);
    ~PinnedProcess();
    PinnedProcess(PinnedProcess&& other) noexcept;
    PinnedProcess& operator=(PinnedProcess&& other) noexcept;

    /// The text it was pinned by.
    const std::string& text() const { return text_; }

    /// Whether it still runs. A process whose state cannot be read for a moment does.
    bool isRunning();

    /// Sends SIGKILL to it, and to no other.
    Kill kill();

private:
    void openHandle();

    RunningApplications applications_;
    std::string text_;
    std::optional<RunningApplication> process_;
    int handle_ = -1;
};

}  // namespace platform
