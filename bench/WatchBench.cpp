// What one tick of the watch costs, with a thousand processes in the table.

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Watch/DGAHeartBeatCheckTool.h"
#include "platform/RunningApplications.h"

namespace {

constexpr int kFirst = 100000;

std::string makeTree(int64_t processes) {
    std::string root = "/tmp/watch-bench-XXXXXX";
    root = mkdtemp(root.data());
    for (int i = 0; i < processes; ++i) {
        const std::string pid = std::to_string(kFirst + i);
        std::filesystem::create_directory(root + "/" + pid);
        std::ofstream(root + "/" + pid + "/stat")
            << pid << " (process) S 1 1 1 0 -1 4194560 1 2 3 4 5 6 7 8 20 0 1 0 " << 1000 + i << " 0 0\n";
    }
    return root;
}

void tick(benchmark::State& state, DGAHeartBeatCheckTool& tool) {
    for (auto _ : state) {
        tool.reloadCheck();
        tool.heartBeatCheck();
    }
}

void tickAmongProcesses(benchmark::State& state) {
    const std::string root = makeTree(state.range(0));
    DGASessionRecord::sharedRecord().pID.set(std::to_string(kFirst + static_cast<int>(state.range(0)) - 1));
    {
        DGAHeartBeatCheckTool tool({.generator = nullptr,
                                    .applications = platform::RunningApplications(root),
                                    .startThread = false});
        tick(state, tool);
    }
    std::filesystem::remove_all(root);
}
BENCHMARK(tickAmongProcesses)->Arg(10)->Arg(1000)->Unit(benchmark::kMicrosecond);

void tickOnThisSystem(benchmark::State& state) {
    DGASessionRecord::sharedRecord().pID.set(std::to_string(getpid()));
    DGAHeartBeatCheckTool tool({.generator = nullptr, .applications = {}, .startThread = false});
    tick(state, tool);
}
BENCHMARK(tickOnThisSystem)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
