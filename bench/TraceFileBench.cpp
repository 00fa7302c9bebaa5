// Trace records per second, from the call until the last one is on disk, beside a bare loop that opens,
// writes and closes a file for each line. Run through scripts/isolated: it writes to /tmp/orvdga.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "platform/WorkQueue.h"

namespace {

constexpr int kRecords = 10000;

void traceRecords(benchmark::State& state) {
    for (auto _ : state) {
        for (int i = 0; i < kRecords; ++i)
            DGACSVFileTool::saveDGATraceWithModuleType(32, 1, 6, "", 9.0F, "", i, "", 0, "", 0);
        DGACSVFileTool::traceQueue().sync([] {});
    }
    state.SetItemsProcessed(state.iterations() * kRecords);
}
BENCHMARK(traceRecords)->Unit(benchmark::kMillisecond)->UseRealTime();

void openWriteClose(benchmark::State& state) {
    const std::string line = "32,1,6,,9.0,,1234,,0,2026-11-21 10:15:00.123,2\n";
    for (auto _ : state) {
        for (int i = 0; i < kRecords; ++i) {
            const int file = open("/tmp/peer.csv", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
            benchmark::DoNotOptimize(write(file, line.data(), line.size()));
            close(file);
        }
    }
    unlink("/tmp/peer.csv");
    state.SetItemsProcessed(state.iterations() * kRecords);
}
BENCHMARK(openWriteClose)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
