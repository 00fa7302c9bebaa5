#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/AppDelegate.h"
#include "DGAMonitor/Report/DGAReportGenerator.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Utilities/DGAUtilitiesFiles.h"
#include "DGAMonitor/Watch/DGAUtilitiesQuit.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "platform/MessagePort.h"
#include "platform/RunLoop.h"
#include "platform/TerminationSignal.h"
#include "platform/WorkQueue.h"

namespace fs = std::filesystem;

namespace {

constexpr int kStayed = 7;

DGASessionRecord& record() {
    return DGASessionRecord::sharedRecord();
}

void saveRecord(const char* name) {
    DGACSVFileTool::saveDGATraceWithModuleType(1, 1, 1, name, 0, {}, 0, {}, 0, {}, 0);
}

void write(const fs::path& path, const std::string& text = "x") {
    fs::create_directories(path.parent_path());
    fs::permissions(path.parent_path(), fs::perms::owner_all);
    std::ofstream(path) << text;
}

// The trace files of all runs.
std::vector<fs::path> traces() {
    std::vector<fs::path> found;
    std::error_code missing;
    for (const auto& entry : fs::recursive_directory_iterator("/tmp/orvdga", missing)) {
        if (entry.path().extension() == ".csv")
            found.push_back(entry.path());
    }
    return found;
}

// What ends the process runs in a process of its own, which the "threadsafe" style starts anew.
class QuitTest : public testing::Test {
protected:
    QuitTest() {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        record().serviceType = 1;
        fs::remove_all("/tmp/orvdga");
        fs::remove_all(runtime);
        fs::create_directories(runtime);
        fs::permissions(runtime, fs::perms::owner_all);
        setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    }

    const fs::path runtime = "/tmp/quit-test-runtime";
};

TEST_F(QuitTest, QuitsOnlyWhenReadyAndNoWindowIsVisible) {
    struct Case {
        bool ready;
        bool visible;
        bool isUT;
        int status;
    };
    const Case cases[] = {{true, false, false, 0},
                          {false, false, false, kStayed},
                          {true, true, false, kStayed},
                          {true, false, true, kStayed}};
    for (const auto& test : cases) {
        EXPECT_EXIT(
            {
                const int window = 0;
                auto& windows = DGAApplicationWindows::sharedWindows();
                windows.setVisible(&window, true);
                windows.setVisible(&window, test.visible);
                record().readyToQuit = test.ready;
                record().isUT = test.isUT;
                DGAUtilities::dga_judgeIfNeedQuit();
                _exit(kStayed);
            },
            testing::ExitedWithCode(test.status), "")
            << "case " << &test - cases;
    }
}

TEST_F(QuitTest, LeavesNothingBehindWhileRecordsPourIn) {
    EXPECT_EXIT(
        {
            const auto port = platform::MessagePort::createLocal("quit", [](auto&, auto, auto) {});
            std::atomic<bool> stuck{true};
            platform::BackgroundQueue::global().async([&] { stuck.wait(true); });
            std::thread pour([] {
                for (;;)
                    saveRecord("pour");
            });
            while (traces().empty())
                std::this_thread::yield();
            write("/tmp/orvdga/orvdga_system_profile.spx");
            write("/tmp/orvdga/kept.zip");
            std::thread([] { DGAUtilities::dga_quit(); }).join();
            _exit(fs::exists("/tmp/quit-test-runtime/quit") ? kStayed + 1 : kStayed);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_TRUE(fs::remove("/tmp/orvdga/kept.zip"));
    EXPECT_TRUE(fs::is_empty("/tmp/orvdga"));
    EXPECT_TRUE(fs::is_empty(runtime)) << "the port's socket";
}

class EndOfSessionTest : public QuitTest, public testing::WithParamInterface<int> {};

TEST_P(EndOfSessionTest, KeepsTheTrace) {
    EXPECT_EXIT(
        {
            const platform::TerminationSignal termination([] { AppDelegate::applicationWillTerminate(); });
            for (int i = 0; i < 100; ++i)
                saveRecord("record");
            std::raise(GetParam());
            platform::RunLoop::main().run();
            _exit(kStayed);
        },
        testing::ExitedWithCode(0), "");
    ASSERT_EQ(traces().size(), 1U);
    std::ifstream file(traces().front());
    EXPECT_EQ(std::count(std::istreambuf_iterator<char>(file), {}, '\n'), 100);
}
INSTANTIATE_TEST_SUITE_P(Signals, EndOfSessionTest, testing::Values(SIGTERM, SIGINT));

TEST_F(QuitTest, RemovalNeverFollowsALink) {
    const fs::path outside = "/tmp/quit-test-outside";
    for (const fs::path folder : {"/tmp/orvdga", "/tmp/quit-test-folder"}) {
        SCOPED_TRACE(folder);
        fs::remove_all(outside);
        write(outside / "file");
        write(folder / "file");
        write(folder / "full/deep/file");
        fs::create_symlink(outside, folder / "full/link");
        fs::create_symlink(outside, folder / "link");
        const std::pair<const char*, bool> namesThatRemain[] = {
            {"link/file", true}, {"file", false}, {"full", false}, {"link", false}, {"missing", false}};
        for (const auto& [name, remains] : namesThatRemain) {
            DGAUtilities::dga_removeFileAtPath(folder / name);
            EXPECT_EQ(fs::exists(fs::symlink_status(folder / name)), remains) << name;
            EXPECT_TRUE(fs::exists(outside / "file")) << name;
        }
        DGAUtilities::dga_removeFileAtPath(folder / "..");
        DGAUtilities::dga_removeFileAtPath(folder.string() + "/");
        EXPECT_TRUE(fs::exists(folder));
        fs::remove_all(folder);
    }
}

}  // namespace
