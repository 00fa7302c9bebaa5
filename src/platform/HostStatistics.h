#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

/// What all cores have done since the machine started, in clock ticks; the counters wrap around. Time spent
/// in interrupts is system time, waiting for a disk is idle time; time that a hypervisor took away is in
/// none of them.
struct CpuTicks {
    uint32_t user = 0;
    uint32_t system = 0;
    uint32_t idle = 0;
    uint32_t nice = 0;
};

/// Physical memory by what the kernel may do with it. Wired is what it can never page out: locked memory,
/// kernel stacks, page tables, slabs that it cannot give back, per-CPU data and reserved huge pages.
struct MemoryPages {
    uint64_t active = 0;
    uint64_t inactive = 0;
    uint64_t wired = 0;
};

// A file that is missing or not as expected gives no reading. Any thread.

std::optional<CpuTicks> readCpuTicks(const std::string& statPath = "/proc/stat");
std::optional<MemoryPages> readMemoryPages(const std::string& meminfoPath = "/proc/meminfo");

/// In bytes.
std::optional<uint64_t> readPhysicalMemory(const std::string& meminfoPath = "/proc/meminfo");
/// What programs can get without swapping: free memory and most of the file cache (MemAvailable).
std::optional<uint64_t> readAvailableMemory(const std::string& meminfoPath = "/proc/meminfo");
uint64_t pageSize();

}  // namespace platform
