#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace platform {

/// One process of the user. A process id is used again after its process has gone; together with the
/// start time (clock ticks since boot) it names one process for good.
struct RunningApplication {
    pid_t processIdentifier = 0;
    /// 0 where the process table could not be read although the process is there.
    uint64_t startTime = 0;
};

/// The user's own running processes, as the process table has them at the moment of asking. A process that
/// has ended counts as gone, also while its parent has not collected it yet. Any thread.
class RunningApplications {
public:
    RunningApplications() = default;
    explicit RunningApplications(std::string processRoot) : root_(std::move(processRoot)) {}

    /// The process whose id in decimal is this text, to the letter; none if the user runs no such process.
    /// The cost is that of one process, however many there are.
    std::optional<RunningApplication> withProcessIdentifier(const std::string& text) const;

private:
    static bool isOwnedByUser(const std::string& folder);
    std::string root_ = "/proc";
};

}  // namespace platform
