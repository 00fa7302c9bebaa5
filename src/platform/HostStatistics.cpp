#include "platform/HostStatistics.h"

#include <unistd.h>

#include <fstream>
#include <limits>
#include <map>
#include <string_view>

namespace platform {
namespace {

using Kilobytes = std::map<std::string, uint64_t, std::less<>>;

// The fields that a kernel may not have count as nothing.
constexpr std::string_view kWiredFields[] = {
    "Unevictable:", "KernelStack:", "PageTables:", "SecPageTables:", "SUnreclaim:", "Percpu:", "Hugetlb:"};

Kilobytes readMeminfo(const std::string& path) {
    Kilobytes fields;
    std::ifstream file(path);
    std::string name;
    uint64_t amount = 0;
    while (file >> name >> amount) {
        fields.emplace(name, amount);
        file.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return fields;
}

std::optional<uint64_t> valueOf(const Kilobytes& fields, std::string_view name) {
    const auto field = fields.find(name);
    return field == fields.end() ? std::nullopt : std::optional<uint64_t>(field->second);
}

uint64_t pagesOf(uint64_t kilobytes) {
    return kilobytes * 1024 / pageSize();
}

}  // namespace

std::optional<CpuTicks> readCpuTicks(const std::string& statPath) {
    std::ifstream file(statPath);
    std::string label;
    uint64_t user = 0;
    uint64_t nice = 0;
    uint64_t system = 0;
    uint64_t idle = 0;
    uint64_t diskWait = 0;
    uint64_t interrupts = 0;
    uint64_t softInterrupts = 0;
    file >> label >> user >> nice >> system >> idle >> diskWait >> interrupts >> softInterrupts;
    if (!file || label != "cpu")
        return std::nullopt;
    return CpuTicks{static_cast<uint32_t>(user), static_cast<uint32_t>(system + interrupts + softInterrupts),
                    static_cast<uint32_t>(idle + diskWait), static_cast<uint32_t>(nice)};
}

std::optional<MemoryPages> readMemoryPages(const std::string& meminfoPath) {
    const Kilobytes fields = readMeminfo(meminfoPath);
    const auto active = valueOf(fields, "Active:");
    const auto inactive = valueOf(fields, "Inactive:");
    if (!active || !inactive)
        return std::nullopt;
    uint64_t wired = 0;
    for (const std::string_view name : kWiredFields)
        wired += valueOf(fields, name).value_or(0);
    return MemoryPages{pagesOf(*active), pagesOf(*inactive), pagesOf(wired)};
}

std::optional<uint64_t> readPhysicalMemory(const std::string& meminfoPath) {
    const auto total = valueOf(readMeminfo(meminfoPath), "MemTotal:");
    return total ? std::optional<uint64_t>(*total * 1024) : std::nullopt;
}

std::optional<uint64_t> readAvailableMemory(const std::string& meminfoPath) {
    const auto available = valueOf(readMeminfo(meminfoPath), "MemAvailable:");
    return available ? std::optional<uint64_t>(*available * 1024) : std::nullopt;
}

uint64_t pageSize() {
    static const auto size = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    return size;
}

}  // namespace platform
