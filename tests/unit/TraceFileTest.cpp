#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/DGAMonitorToolManager.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "platform/RunLoop.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

namespace {

namespace fs = std::filesystem;
using Text = std::optional<std::string>;

DGACSVFileTool& tool() {
    return DGACSVFileTool::shareFileTool();
}

void drain() {
    DGACSVFileTool::traceQueue().sync([] {});
}

void save(float dwID, Text text = std::nullopt, Text timestamp = "T", int64_t thread = 9) {
    DGACSVFileTool::saveDGATraceWithModuleType(7, 1, 6, text, dwID, text, -5, text, 3, std::move(timestamp),
                                               thread);
}

std::vector<std::string> traceLines() {
    drain();
    std::vector<std::string> lines;
    std::ifstream file(tool().orvdgaCSVFilePath());
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

class TraceFile : public testing::Test {
protected:
    void SetUp() override {
        DGASessionRecord::sharedRecord().serviceType = 1;
        DGASessionRecord::sharedRecord().confName.set("Weekly");
        drain();
        fs::remove_all("/tmp/orvdga");
        tool().checkFilePathIfExist();
    }
};

TEST_F(TraceFile, TheRunsFolderHoldsTopicAndTrace) {
    const std::string stamp = R"((\d{8}_\d{6}))";
    std::smatch found;
    const std::string folder = tool().dirFilePath();
    ASSERT_TRUE(std::regex_match(
        folder, found,
        std::regex("/tmp/orvdga/orvanedga_meeting_" + stamp + "_" + std::to_string(getpid()))));
    EXPECT_EQ(tool().orvdgaCSVFilePath(), folder + "/orvdga_trace_meeting_" + found[1].str() + ".csv");
    EXPECT_EQ(tool().orvdgaTopicFilePath(), folder + "/orvdga_topic.txt");
    EXPECT_EQ(fs::file_size(tool().orvdgaCSVFilePath()), 0U);
    std::ostringstream topic;
    topic << std::ifstream(tool().orvdgaTopicFilePath()).rdbuf();
    EXPECT_TRUE(std::regex_match(topic.str(), std::regex("V2Vla2x5\\n\\d\\d/\\d\\d/\\d{4} \\d\\d:\\d\\d")))
        << topic.str();
}

TEST_F(TraceFile, FieldsArePrintedByTheirRules) {
    save(1.0F);
    save(0.0F, "");
    save(-2.0F, "text");
    save(12.34F, "a,b");
    save(0.04F, "%s {} ü");
    EXPECT_EQ(traceLines(),
              (std::vector<std::string>{"7,1,6,,1.0,,-5,,3,T,9", "7,1,6,,0,,-5,,3,T,9",
                                        "7,1,6,text,-2,text,-5,text,3,T,9", "7,1,6,a,b,12.3,a,b,-5,a,b,3,T,9",
                                        "7,1,6,%s {} ü,0.0,%s {} ü,-5,%s {} ü,3,T,9"}));
}

TEST_F(TraceFile, AMissingTimeAndThreadAreFilledInWhenWritten) {
    save(0, {}, std::nullopt, 0);
    save(0, {}, "", 0);
    const auto lines = traceLines();
    ASSERT_EQ(lines.size(), 2U);
    for (const auto& line : lines)
        EXPECT_TRUE(std::regex_match(
            line, std::regex(R"(7,1,6,,0,,-5,,3,\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3},\d+)")))
            << line;
    int64_t writer = 0;
    DGACSVFileTool::traceQueue().sync([&] { writer = DGACSVFileTool::getThreadID(); });
    EXPECT_TRUE(lines[0].ends_with("," + std::to_string(writer)));
    EXPECT_EQ(DGACSVFileTool::getThreadID(), 1);
    EXPECT_NE(writer, 1);
}

TEST_F(TraceFile, TheToolsServiceWritesNothing) {
    DGASessionRecord::sharedRecord().serviceType = 10;
    save(1);
    EXPECT_TRUE(traceLines().empty());
    fs::remove_all(tool().dirFilePath());
    tool().checkFilePathIfExist();
    EXPECT_TRUE(fs::is_directory(tool().dirFilePath()));
    EXPECT_TRUE(fs::is_empty(tool().dirFilePath())) << "a folder, but neither topic nor trace";
}

TEST_F(TraceFile, RecordsOfManyThreadsAreWholeAndInTheOrderOfTheirCalls) {
    constexpr int kThreads = 4;
    constexpr int kRecords = 500;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < kRecords; ++i)
                save(0, std::nullopt, std::to_string(i), t + 1);
        });
    }
    for (auto& thread : threads)
        thread.join();
    std::vector<int> next(kThreads + 1, 0);
    const auto lines = traceLines();
    EXPECT_EQ(lines.size(), static_cast<size_t>(kThreads * kRecords));
    for (const auto& line : lines) {
        int number = -1;
        unsigned thread = 0;
        ASSERT_EQ(std::sscanf(line.c_str(), "7,1,6,,0,,-5,,3,%d,%u", &number, &thread), 2) << line;
        EXPECT_EQ(number, next.at(thread)++);
    }
}

TEST_F(TraceFile, ALostRecordDisturbsNothingAndTheNextTriesAgain) {
    fs::create_directory("/tmp/victim");
    const std::vector<std::pair<const char*, std::function<void()>>> plants = {
        {"nothing there", [] {}},
        {"the store is a file", [] { std::ofstream("/tmp/orvdga") << "x"; }},
        {"the store is a link", [] { fs::create_directory_symlink("/tmp/victim", "/tmp/orvdga"); }},
        {"all may write to the store",
         [] {
             fs::create_directory("/tmp/orvdga");
             fs::permissions("/tmp/orvdga", fs::perms::all);
         }},
        {"the run's folder is a link",
         [] {
             fs::create_directory("/tmp/orvdga");
             fs::permissions("/tmp/orvdga", fs::perms::owner_all);
             fs::create_directory_symlink("/tmp/victim", tool().dirFilePath());
         }},
        {"the trace file is a link", [] {
             fs::create_directories(tool().dirFilePath());
             fs::permissions("/tmp/orvdga", fs::perms::owner_all);
             fs::permissions(tool().dirFilePath(), fs::perms::owner_all);
             fs::create_symlink("/tmp/victim/file", tool().orvdgaCSVFilePath());
         }}};
    for (const auto& [name, plant] : plants) {
        drain();
        fs::remove_all("/tmp/orvdga");
        plant();
        save(1, "lost");
        drain();
        EXPECT_TRUE(fs::is_empty("/tmp/victim")) << name;
        fs::remove_all("/tmp/orvdga");
        save(1, "kept");
        EXPECT_EQ(traceLines().size(), 1U) << name;
    }
    fs::remove_all("/tmp/victim");
}

TEST_F(TraceFile, AFullTraceStaysAsItIs) {
    save(1);
    drain();
    constexpr auto kLargest = uintmax_t{256} * 1000 * 1000;
    fs::resize_file(tool().orvdgaCSVFilePath(), kLargest - 30);
    const std::string logPath = ORVNLogger::sharedLogger().logFileName().value_or("");
    for (int i = 0; i < 4; ++i)
        save(1);
    drain();
    std::ostringstream log;
    log << std::ifstream(logPath).rdbuf();
    const std::string said = log.str();
    EXPECT_NE(said.find("the trace file is full"), std::string::npos);
    EXPECT_EQ(said.find("the trace file is full"), said.rfind("the trace file is full")) << "once";
    const auto size = fs::file_size(tool().orvdgaCSVFilePath());
    EXPECT_GT(size, kLargest - 30);
    EXPECT_LE(size, kLargest);
}

TEST_F(TraceFile, SaysWhenItHasRoomAgain) {
    using namespace std::chrono_literals;
    std::atomic<bool> stuck{true};
    DGACSVFileTool::traceQueue().async([&] { stuck.wait(true); });
    int saved = 0;
    for (; DGACSVFileTool::hasRoom() && saved < 100000; ++saved)
        save(0);
    bool told = false;
    // A message that comes now is read later: first, as those who wait are told in their order.
    auto& version = DGASessionRecord::sharedRecord().clientVersion;
    DGAMonitorToolManager::shareManager().dealMessageFromClient(
        {"name", std::nullopt, {{"DgaJsonData", R"({"clientVersion": "late"})"}}});
    DGACSVFileTool::whenRoom([&] { told = true; });
    platform::RunLoop::main().runFor(10ms);
    EXPECT_FALSE(told);
    EXPECT_NE(version.get(), "late");
    stuck = false;
    stuck.notify_all();
    for (int i = 0; i < 1000 && !told; ++i)
        platform::RunLoop::main().runFor(5ms);
    EXPECT_TRUE(told && DGACSVFileTool::hasRoom());
    EXPECT_EQ(version.get(), "late");
    EXPECT_GE(traceLines().size(), static_cast<size_t>(saved));
}

TEST_F(TraceFile, RemovingTakesTheFolderAfterTheQueuedRecords) {
    for (int i = 0; i < 200; ++i)
        save(1);
    tool().removeFile();
    EXPECT_FALSE(fs::exists(tool().dirFilePath()));
    EXPECT_TRUE(fs::exists("/tmp/orvdga")) << "only the run's own folder goes";
}

}  // namespace
