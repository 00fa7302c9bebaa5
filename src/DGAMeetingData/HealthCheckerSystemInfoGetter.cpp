#include "DGAMeetingData/HealthCheckerSystemInfoGetter.h"

#include <cmath>
#include <mutex>

namespace {

constexpr double kLeastTotal = 1e-8;
constexpr uint64_t kMebibyte = 1048576;

struct HostState {
    std::mutex mutex;
    platform::CpuTicks previous;
    platform::CpuTicks current;
    uint64_t totalMemory = 0;
    uint64_t usedMemory = 0;
};

constinit HostState host;

uint64_t mebibytes(uint64_t pages) {
    return pages * platform::pageSize() / kMebibyte;
}

}  // namespace

namespace healthchecker {

double cpuUsage(const platform::CpuTicks& previous, const platform::CpuTicks& current) {
    const uint32_t busyTicks = (current.user + current.system) - (previous.user + previous.system);
    const uint32_t totalTicks = busyTicks + (current.idle - previous.idle);
    const double total = totalTicks;
    return total > kLeastTotal ? busyTicks / total * 100.0 : 0.0;
}

double acceptedUsage(std::optional<double> usage, double callersValue) {
    const double value = usage.value_or(callersValue);
    return value > 0.0 && value <= 100.0 ? value : std::trunc(callersValue);
}

}  // namespace healthchecker

void GetOverallCPUUsage(double& usage) {
    const std::lock_guard<std::mutex> hold(host.mutex);
    host.previous = host.current;
    const auto ticks = platform::readCpuTicks();
    host.current = ticks.value_or(host.previous);
    const double measured = healthchecker::cpuUsage(host.previous, host.current);
    usage = healthchecker::acceptedUsage(ticks ? std::optional<double>(measured) : std::nullopt, usage);
    if (const auto pages = platform::readMemoryPages()) {
        host.totalMemory = mebibytes(pages->active + pages->inactive + pages->wired);
        host.usedMemory = mebibytes(pages->active + pages->inactive);
    }
}

uint64_t GetTotalMemory() {
    return platform::readPhysicalMemory().value_or(0) / kMebibyte;
}

uint64_t GetOverAllMemory(double& memory) {
    const std::lock_guard<std::mutex> hold(host.mutex);
    if (host.totalMemory != 0)
        memory = static_cast<double>(host.totalMemory);
    return host.totalMemory;
}

void GetOverAllUsedMemory(double& memory) {
    const std::lock_guard<std::mutex> hold(host.mutex);
    if (host.usedMemory != 0)
        memory = static_cast<double>(host.usedMemory);
}
