#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DGAMeetingData/DGAProcessRecord.h"

class DGALoopThread;

namespace platform {
class Timer;
}

/// The sampler: every five minutes it records in the trace what the machine, its busiest processes, the
/// client and this program use of CPU and memory. Between two samples its thread sleeps.
class DGASystemResourceCheckingManager {
public:
    using ProcessList = std::vector<DGAProcessRecord>;
    /// Gives a listing as parseProcessListing() reads it, busiest process first, or none; any thread.
    using ListingSource = std::function<std::optional<std::string>()>;

    static constexpr std::chrono::seconds kSamplingInterval{300};

    /// The one instance, over the system's processes. It samples until the process ends.
    static DGASystemResourceCheckingManager& shareCheckingManager();

    explicit DGASystemResourceCheckingManager(ListingSource listing,
                                              std::chrono::milliseconds interval = kSamplingInterval);
    ~DGASystemResourceCheckingManager();
    DGASystemResourceCheckingManager(const DGASystemResourceCheckingManager&) = delete;
    DGASystemResourceCheckingManager& operator=(const DGASystemResourceCheckingManager&) = delete;

    /// Starts the sampler's thread; the first sample is taken one interval later, and tells of that interval.
    /// Does nothing when it has been started. Main thread.
    void startChecking();

    // The others are for any thread.

    /// All processes that have a path, busiest first; empty if there is no listing.
    ProcessList allProcessList() const;

    /// The five busiest, the client and this program; none if there are only five processes or fewer.
    std::optional<ProcessList> getTopUtilizationProcesses() const;

    static bool containOrvaneProcessInfo(const DGAProcessRecord& record);
    static bool containDGAProcessInfo(const DGAProcessRecord& record);

    /// The record of one process in a fresh listing.
    std::optional<DGAProcessRecord> getOrvaneCPUMemoryInfoByPID(const std::string& processID) const;

    /// The executable's name of a running application of this user; "-" if there is none of that id.
    static std::string dealWithFilePathWithPid(int32_t processID);

    /// Takes one sample. One thread at a time.
    void writeIntoCSV();

private:
    void doInitailize();
    void takeBaseline() const;

    const ListingSource listing_;
    const std::chrono::milliseconds interval_;
    std::atomic<uint64_t> counter_{0};
    std::unique_ptr<platform::Timer> timer_;
    std::unique_ptr<DGALoopThread> thread_;
};
