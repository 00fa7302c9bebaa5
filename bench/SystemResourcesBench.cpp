#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMeetingData/DGASystemResourceCheckingManager.h"
#include "platform/ProcessListing.h"
#include "platform/WorkQueue.h"

// Writes trace files to /tmp/orvdga. Each benchmark names the processes that it listed.

namespace {

namespace fs = std::filesystem;

constexpr int kProcesses = 1000;

/// A recorded /proc folder, so that the cost of our own reading shows without the kernel's.
class RecordedProcesses {
public:
    RecordedProcesses() {
        fs::create_directories(folder_);
        std::ofstream(folder_ / "uptime") << "100000.00 1.00\n";
        for (int pid = 1; pid <= kProcesses; ++pid) {
            const fs::path process = folder_ / std::to_string(pid);
            fs::create_directory(process);
            std::ofstream(process / "stat") << pid << " (task) S 1 1 1 0 -1 4194304 101 0 0 0 " << pid
                                            << " 7 0 0 20 0 1 0 4998 3133440 412 18446744073709551615\n";
            fs::create_symlink("/opt/some folder/bin/task" + std::to_string(pid), process / "exe");
        }
    }
    ~RecordedProcesses() { fs::remove_all(folder_); }
    RecordedProcesses(const RecordedProcesses&) = delete;
    RecordedProcesses& operator=(const RecordedProcesses&) = delete;
    const fs::path& folder() const { return folder_; }

private:
    const fs::path folder_ = fs::temp_directory_path() / ("recorded-proc-" + std::to_string(getpid()));
};

/// Real processes that do nothing.
class SleepingProcesses {
public:
    SleepingProcesses() {
        while (pids_.size() < kProcesses) {
            const pid_t pid = fork();
            if (pid == 0) {
                pause();
                _exit(0);
            }
            if (pid < 0)
                break;
            pids_.push_back(pid);
        }
    }
    ~SleepingProcesses() {
        for (const pid_t pid : pids_)
            kill(pid, SIGKILL);
        for (const pid_t pid : pids_)
            waitpid(pid, nullptr, 0);
    }
    SleepingProcesses(const SleepingProcesses&) = delete;
    SleepingProcesses& operator=(const SleepingProcesses&) = delete;

private:
    std::vector<pid_t> pids_;
};

void countLines(benchmark::State& state, const std::string& listing) {
    state.counters["processes"] = static_cast<double>(std::count(listing.begin(), listing.end(), '\n') - 1);
}

void listProcesses(benchmark::State& state, const std::string& procRoot) {
    platform::ProcessListing listing(procRoot);
    std::string text;
    for (auto _ : state)
        text = listing.read().value_or("");
    countLines(state, text);
}

void BM_RecordedListing(benchmark::State& state) {
    const RecordedProcesses recorded;
    listProcesses(state, recorded.folder());
}
BENCHMARK(BM_RecordedListing)->Unit(benchmark::kMillisecond);

void BM_Listing(benchmark::State& state) {
    const SleepingProcesses sleeping;
    listProcesses(state, "/proc");
}
BENCHMARK(BM_Listing)->Unit(benchmark::kMillisecond);

/// The peer: the same columns by the system's own tool; its CPU is the child's.
void BM_PsListing(benchmark::State& state) {
    const SleepingProcesses sleeping;
    std::string text;
    for (auto _ : state) {
        rusage before{};
        getrusage(RUSAGE_CHILDREN, &before);
        text.clear();
        FILE* const pipe = popen("ps -eo pid,pcpu,rss,comm --sort=-pcpu", "r");
        char buffer[4096];
        while (pipe && fgets(buffer, sizeof buffer, pipe))
            text += buffer;
        if (pipe)
            pclose(pipe);
        rusage after{};
        getrusage(RUSAGE_CHILDREN, &after);
        const auto seconds = [](const timeval& from, const timeval& to) {
            return static_cast<double>(to.tv_sec - from.tv_sec) +
                   static_cast<double>(to.tv_usec - from.tv_usec) / 1e6;
        };
        state.SetIterationTime(seconds(before.ru_utime, after.ru_utime) +
                               seconds(before.ru_stime, after.ru_stime));
    }
    countLines(state, text);
}
BENCHMARK(BM_PsListing)->Unit(benchmark::kMillisecond)->UseManualTime();

/// One whole sample, with the writing of its records.
void BM_Sample(benchmark::State& state) {
    const SleepingProcesses sleeping;
    auto& sampler = DGASystemResourceCheckingManager::shareCheckingManager();
    for (auto _ : state) {
        sampler.writeIntoCSV();
        DGACSVFileTool::traceQueue().sync([] {});
    }
    state.counters["processes"] = static_cast<double>(sampler.allProcessList().size());
}
BENCHMARK(BM_Sample)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

}  // namespace

BENCHMARK_MAIN();
