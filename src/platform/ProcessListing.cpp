#include "platform/ProcessListing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Handle.h"
#include "platform/ProcessStat.h"
#include "platform/Text.h"

namespace platform {
namespace {

constexpr std::string_view kHeading = "PID %CPU RSS COMM\n";
constexpr std::string_view kDeletedMark = " (deleted)";
// Leaves room for the three numbers in a line of 4094 bytes.
constexpr size_t kLongestCommand = 4000;
constexpr double kShortestSpan = 1.0;

Handle openFolder(int parent, const char* path) {
    return Handle(openat(parent, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

/// The beginning of a file, as far as `buffer` goes; empty when it cannot be read.
template <size_t Size>
std::string_view readInto(char (&buffer)[Size], int folder, const char* name) {
    const Handle file(openat(folder, name, O_RDONLY | O_CLOEXEC));
    const ssize_t count = file ? read(file.get(), buffer, Size) : -1;
    return count > 0 ? std::string_view(buffer, static_cast<size_t>(count)) : std::string_view();
}

template <typename Number>
std::optional<Number> numberIn(std::string_view text) {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() ? std::optional<Number>(value) : std::nullopt;
}

std::string printable(std::string text) {
    const bool utf8 = isUtf8(text);
    std::replace_if(
        text.begin(), text.end(),
        [utf8](char c) {
            const auto byte = static_cast<unsigned char>(c);
            return byte < 0x20 || byte == 0x7F || (byte >= 0x80 && !utf8);
        },
        '?');
    return text;
}

std::optional<std::string> executableIn(int processFolder) {
    char buffer[PATH_MAX];
    const ssize_t length = readlinkat(processFolder, "exe", buffer, sizeof buffer);
    if (length <= 0)
        return std::nullopt;
    std::string_view path(buffer, static_cast<size_t>(length));
    if (path.ends_with(kDeletedMark))
        path.remove_suffix(kDeletedMark.size());
    return std::string(path);
}

std::string commandOf(int processFolder, std::string_view name) {
    if (auto path = executableIn(processFolder))
        return std::move(*path);
    char buffer[PATH_MAX];
    std::string_view command = readInto(buffer, processFolder, "cmdline");
    command = command.substr(0, command.find('\0'));
    if (command.starts_with('/'))
        return std::string(command);
    std::string bare(name);
    std::replace(bare.begin(), bare.end(), '/', ':');
    return bare;
}

std::string fittingLine(std::string command) {
    if (command.size() <= kLongestCommand)
        return command;
    command.erase(0, command.size() - kLongestCommand);
    const size_t slash = command.find('/');
    return slash == std::string::npos ? "/" + command : command.substr(slash);
}

struct CpuTime {
    pid_t pid;
    uint64_t startTicks;
    uint64_t ticks;
};

struct Process {
    CpuTime cpu;
    uint64_t residentPages;
    std::string command;
    double rate = 0.0;
};

/// What a later reading needs of this one; sorted by process id.
struct Reading {
    double uptime;
    std::vector<CpuTime> cpuTimes;

    const CpuTime* find(const CpuTime& wanted) const {
        const auto found = std::lower_bound(cpuTimes.begin(), cpuTimes.end(), wanted.pid,
                                            [](const CpuTime& one, pid_t pid) { return one.pid < pid; });
        const bool same = found != cpuTimes.end() && found->pid == wanted.pid &&
                          found->startTicks == wanted.startTicks && found->ticks <= wanted.ticks;
        return same ? &*found : nullptr;
    }
};

double cpuRate(const CpuTime& cpu, double uptime, const Reading* before) {
    static const auto ticksPerSecond = static_cast<double>(sysconf(_SC_CLK_TCK));
    const CpuTime* const earlier = before ? before->find(cpu) : nullptr;
    const double since = earlier ? before->uptime : static_cast<double>(cpu.startTicks) / ticksPerSecond;
    const uint64_t ticks = earlier ? cpu.ticks - earlier->ticks : cpu.ticks;
    const double span = uptime - since;
    return span > 0.0 ? 100.0 * static_cast<double>(ticks) / ticksPerSecond / span : 0.0;
}

std::optional<Process> readProcess(int root, const char* entry) {
    const auto pid = numberIn<pid_t>(entry);
    if (!pid || *pid <= 0)
        return std::nullopt;
    // Held open, so that a process that takes over the id meanwhile is not mixed in.
    const Handle folder = openFolder(root, entry);
    char buffer[2048];
    const auto stat = folder ? ProcessStat::parse(readInto(buffer, folder.get(), "stat")) : std::nullopt;
    if (!stat)
        return std::nullopt;
    return Process{{*pid, stat->startTime, stat->cpuTicks},
                   stat->residentPages,
                   printable(fittingLine(commandOf(folder.get(), stat->name)))};
}

std::optional<std::vector<Process>> readProcesses(const std::string& procRoot) {
    DIR* const root = opendir(procRoot.c_str());
    if (!root)
        return std::nullopt;
    std::vector<Process> processes;
    while (const dirent* const entry = readdir(root)) {
        if (auto process = readProcess(dirfd(root), static_cast<const char*>(entry->d_name)))
            processes.push_back(std::move(*process));
    }
    closedir(root);
    std::sort(processes.begin(), processes.end(),
              [](const Process& a, const Process& b) { return a.cpu.pid < b.cpu.pid; });
    return processes;
}

std::optional<double> readUptime(const std::string& procRoot) {
    const Handle root = openFolder(AT_FDCWD, procRoot.c_str());
    char buffer[64];
    return root ? numberIn<double>(readInto(buffer, root.get(), "uptime")) : std::nullopt;
}

void append(std::string& text, uint64_t number) {
    char buffer[24];
    text.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr);
}

void append(std::string& text, double rate) {
    char buffer[64];
    const auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, rate, std::chars_format::fixed, 1);
    text.append(buffer, error == std::errc() ? end : buffer);
}

std::string listingOf(const std::vector<Process>& processes) {
    static const auto pageSize = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    std::string text(kHeading);
    for (const Process& process : processes) {
        append(text, static_cast<uint64_t>(process.cpu.pid));
        text += ' ';
        append(text, process.rate);
        text += ' ';
        append(text, process.residentPages * pageSize / 1024);
        text += ' ';
        text += process.command;
        text += '\n';
    }
    return text;
}

}  // namespace

struct ProcessListing::State {
    std::string procRoot;
    std::mutex mutex;
    // Two, because listings that follow each other at once would otherwise measure over next to nothing.
    std::optional<Reading> older;
    std::optional<Reading> newer;

    void rate(std::vector<Process>& processes, double uptime) {
        const std::lock_guard<std::mutex> hold(mutex);
        if (newer && uptime - newer->uptime >= kShortestSpan)
            older = std::exchange(newer, std::nullopt);
        for (Process& process : processes)
            process.rate = cpuRate(process.cpu, uptime, older ? &*older : nullptr);
        if (newer)
            return;
        newer = Reading{uptime, {}};
        newer->cpuTimes.reserve(processes.size());
        for (const Process& process : processes)
            newer->cpuTimes.push_back(process.cpu);
    }
};

ProcessListing::ProcessListing(std::string procRoot) : state_(std::make_unique<State>()) {
    state_->procRoot = std::move(procRoot);
}

ProcessListing::~ProcessListing() = default;

std::optional<std::string> ProcessListing::read() {
    const auto uptime = readUptime(state_->procRoot);
    auto processes = uptime ? readProcesses(state_->procRoot) : std::nullopt;
    if (!processes)
        return std::nullopt;
    state_->rate(*processes, *uptime);
    std::stable_sort(processes->begin(), processes->end(),
                     [](const Process& a, const Process& b) { return a.rate > b.rate; });
    return listingOf(*processes);
}

std::optional<std::string> executablePathOf(pid_t pid, const std::string& procRoot) {
    const Handle folder = openFolder(AT_FDCWD, (procRoot + "/" + std::to_string(pid)).c_str());
    struct stat owner {};
    if (!folder || fstat(folder.get(), &owner) != 0 || owner.st_uid != geteuid())
        return std::nullopt;
    char buffer[2048];
    const auto stat = ProcessStat::parse(readInto(buffer, folder.get(), "stat"));
    if (!stat || stat->state == 'Z' || stat->state == 'X')
        return std::nullopt;
    auto path = executableIn(folder.get());
    return path ? std::optional<std::string>(printable(std::move(*path))) : std::nullopt;
}

}  // namespace platform
