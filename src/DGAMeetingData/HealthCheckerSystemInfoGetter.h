#pragma once

#include <cstdint>
#include <optional>

#include "platform/HostStatistics.h"

// The machine's CPU and memory use, in percent and mebibytes. All callers share one state: the CPU use is
// measured since anybody's previous call, and the memory figures are those of the latest
// GetOverallCPUUsage(), so call that first. Any thread.

/// CPU use since the previous call, the first time since the machine started. Where there is no figure above
/// 0 and up to 100, `usage` keeps its value without its fraction. Also takes the memory figures.
void GetOverallCPUUsage(double& usage);

/// The physical memory; 0 when the system does not tell.
uint64_t GetTotalMemory();

/// Active, inactive and wired memory, also returned. `memory` is left as it is while there is no figure.
uint64_t GetOverAllMemory(double& memory);

/// Active and inactive memory. `memory` is left as it is while there is no figure.
void GetOverAllUsedMemory(double& memory);

namespace healthchecker {

/// Busy per cent between two readings, nice ticks ignored; the counters may have wrapped around.
double cpuUsage(const platform::CpuTicks& previous, const platform::CpuTicks& current);

/// What GetOverallCPUUsage() leaves in a variable that held `callersValue`; a failed reading has no usage.
double acceptedUsage(std::optional<double> usage, double callersValue);

}  // namespace healthchecker
