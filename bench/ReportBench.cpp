#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Report/DGAReportGenerator.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "platform/BundleInfo.h"
#include "reportproblem/DGAScreenshotExtractor.h"
#include "reportproblem/LogCollector.h"

// Writes archives to /tmp/orvdga and removes them; looks for crash reports in a home folder of its own.

namespace {

namespace fs = std::filesystem;

const fs::path kHome = fs::temp_directory_path() / ("report-bench-" + std::to_string(getpid()));

/// Text as a log has it: times, numbers, a few words.
void writeLog(const fs::path& path, size_t size) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path);
    unsigned number = 1;
    for (size_t written = 0; written < size;) {
        char line[160];
        number = number * 1664525U + 1013904223U;
        const int length = std::snprintf(
            line, sizeof line, "2026-11-21 10:%02u:%02u.%03u [4711:%u] client 2 stream %08x received %u\n",
            number / 7 % 60, number / 11 % 60, number / 13 % 1000, number % 40, number, number / 3 % 9000);
        file.write(line, length);
        written += static_cast<size_t>(length);
    }
}

/// A home with one meeting log of so many megabytes; the record names it.
class Home {
public:
    explicit Home(int64_t megabytes) {
        setenv("HOME", kHome.c_str(), 1);
        writeLog(kHome / "meeting.log", static_cast<size_t>(megabytes) * 1'000'000);
        fs::create_directories(platform::BundleInfo::resourceFolder());
        DGASessionRecord::sharedRecord().logFileName.set(kHome / "meeting.log");
    }
    ~Home() { fs::remove_all(kHome); }
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;
};

double seconds(const std::function<void()>& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void makeReport(DGAReportGenerator& generator) {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    generator.startGenerateReportIfScreenShot({.serviceType = 1}, [&] {
        const std::lock_guard<std::mutex> hold(mutex);
        done = true;
        changed.notify_all();
    });
    std::unique_lock<std::mutex> hold(mutex);
    changed.wait(hold, [&] { return done; });
}

/// A report of the meeting service, and beside it the same files packed by zip alone, turn by turn.
void BM_Archive(benchmark::State& state) {
    const Home home(state.range(0));

    DGAReportGenerator::Tools tools;
    tools.saveTime = [] { return "bench"; };
    DGAReportGenerator generator(tools);
    const auto& trace = DGACSVFileTool::shareFileTool();
    const std::string bare = "/usr/bin/zip -qjr /tmp/orvdga/bare '" + (kHome / "meeting.log").string() +
                             "' '" + trace.orvdgaTopicFilePath() + "' '" + trace.orvdgaCSVFilePath() + "'";
    double ours = 0;
    double peers = 0;
    for (auto _ : state) {
        ours += seconds([&] { makeReport(generator); });
        state.PauseTiming();
        peers += seconds([&] {
            if (std::system(bare.c_str()) != 0)
                state.SkipWithError("zip failed");
        });
        if (!fs::exists("/tmp/orvdga/(null)_(null)_bench.zip"))
            state.SkipWithError("no archive");
        fs::remove("/tmp/orvdga/(null)_(null)_bench.zip");
        fs::remove("/tmp/orvdga/bare.zip");
        state.ResumeTiming();
    }
    state.counters["times_zip"] = ours / peers;
}
BENCHMARK(BM_Archive)->Arg(5)->Arg(50)->Arg(200)->Iterations(5)->Unit(benchmark::kMillisecond)->UseRealTime();

class AllLogs final : public LogCollector {
public:
    explicit AllLogs(const fs::path& folder) { setLogFolderPath(folder); }
    bool isExpectedLog(const std::string& /*name*/) const override { return true; }
};

/// The listing and sorting of a folder.
void BM_Collect(benchmark::State& state) {
    const fs::path folder = kHome / "logs";
    fs::create_directories(folder);
    for (int i = 0; i < state.range(0); ++i) {
        char name[64];
        std::snprintf(name, sizeof name, "orvtra_03%02d20%02d%02d%02d%02d01_%d.ovt", i % 28 + 1,
                      i / 28 % 50 + 20, i % 24, i / 7 % 60, i / 5 % 60, i);
        std::ofstream(folder / name).put('x');
    }
    size_t entries = 0;
    for (auto _ : state) {
        AllLogs collector(folder);
        entries = collector.allLogsSortedByTimestamp().size();
    }
    state.counters["entries"] = static_cast<double>(entries);
    fs::remove_all(kHome);
}
BENCHMARK(BM_Collect)->Arg(10000)->Unit(benchmark::kMillisecond);

/// A picture of the screen as a report takes it, with all programs that this starts; the windows are taken
/// off the screen before, which takes 80 ms. Needs a display.
void BM_Capture(benchmark::State& state) {
    if (!getenv("DISPLAY")) {
        state.SkipWithError("no display: run it through scripts/with-display");
        return;
    }
    fs::create_directories(kHome);
    const std::string picture = kHome / "picture.png";
    fs::permissions(kHome, fs::perms::owner_all);
    for (auto _ : state) {
        const std::string fault = DGAScreenshotExtractor().generateScreenshot(picture);
        if (!fault.empty())
            state.SkipWithError(fault.c_str());
    }
    fs::remove_all(kHome);
}
BENCHMARK(BM_Capture)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
