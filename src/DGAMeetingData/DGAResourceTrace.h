#pragma once

#include <cstdint>
#include <string>

#include "DGAMeetingData/DGAProcessRecord.h"

/// The CPU and memory records of the trace (module 30). Records that belong to one sample share its level,
/// and its number as their value. Any thread.
struct DGAResourceTrace {
    int64_t levelType;
    int64_t sample;

    /// Measures the machine; appends "cpu total used" and "memory total used" under this program's id.
    void saveOverall(int64_t ownID) const;

    /// Appends "<kind>cpu usage" and "<kind>memory usage" of one process.
    void saveProcess(const std::string& kind, const DGAProcessRecord& process) const;
};
