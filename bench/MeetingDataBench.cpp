// Meeting-data messages a second, from a message's text to its line in the log and its records in the trace
// file, beside the JSON library alone. Run through scripts/isolated: it writes to /tmp/orvdga and
// /tmp/orvtrace.
#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>
#include <string>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMeetingData/DGAMeetingDataManager.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

namespace {

std::string message(int number) {
    const int changing = number % 2;
    return R"({"event":{"eventType":0},"network":{"networkStatus":1},"meetingService":{)"
           R"("cbConnectionErrorCode":0,"cbConnectionDelay":35,"mmpConnectionErrorCode":0,)"
           R"("pdSessionErrorCode":0,"chatSessionErrorCode":0,"pollingSessionErrorCode":0,)"
           R"("ccSessionErrorCode":0,"noteSessionErrorCode":0,"fileTransformSessionErrorCode":0,)"
           R"("nbrSessionErrorCode":0,"asSessionErrorCode":0,"audioSessionErrorCode":0,)"
           R"("videoSessionErrorCode":0},"audioQuality":{"audioType":1,"receiveQuality":2,"sendQuality":)" +
           std::to_string(changing) +
           R"(,"deviceStatus":1},"videoQuality":{"receiveQuality":3,"sendQuality":3,"deviceStatus":1},)"
           R"("shareQuality":{"shareType":0,"dlcQuality":0,"h264Quality":0}})";
}

void startLog() {
    ORVNLogger::sharedLogger().initParams({.subPath = "bench", .fileNamePrefix = "bench_", .maxFileNum = 2});
}

// The peer: what the JSON library alone needs for the same text.
void parseAlone(benchmark::State& state) {
    const std::string text = message(0);
    for (auto _ : state)
        benchmark::DoNotOptimize(nlohmann::json::parse(text));
    state.SetItemsProcessed(state.iterations());
    state.counters["bytes"] = static_cast<double>(text.size());
}
BENCHMARK(parseAlone)->UseRealTime();

// The argument: every how many messages one changes, which makes four records.
void parseJson(benchmark::State& state) {
    startLog();
    const std::string texts[] = {message(0), message(1)};
    DGAMeetingDataManager manager;
    int64_t number = 0;
    for (auto _ : state)
        manager.parseJson(texts[++number / state.range(0) % 2]);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(parseJson)->Arg(1 << 30)->Arg(10)->UseRealTime();

// The same until all records are in the file; a batch of messages at a time.
void parseJsonAndWrite(benchmark::State& state) {
    startLog();
    constexpr int kBatch = 1000;
    const std::string texts[] = {message(0), message(1)};
    DGAMeetingDataManager manager;
    int64_t number = 0;
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            manager.parseJson(texts[++number / state.range(0) % 2]);
        DGACSVFileTool::traceQueue().sync([] {});
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(parseJsonAndWrite)->Arg(10)->Arg(1)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
