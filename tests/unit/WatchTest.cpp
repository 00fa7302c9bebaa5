#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Watch/DGADealNotifTargetTool.h"
#include "DGAMonitor/Watch/DGAHeartBeatCheckTool.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/RunLoop.h"
#include "platform/RunningApplications.h"

namespace {

using namespace std::chrono_literals;
using platform::RunLoop;

DGASessionRecord& record() {
    return DGASessionRecord::sharedRecord();
}

template <typename Interface>
class FakeWindow : public Interface {
public:
    ~FakeWindow() override { setVisible(false); }
    bool isVisible() const override { return visible; }
    void bringToFront() override { ++broughtToFront; }
    void center() override { ++centred; }
    void close() override { setVisible(false); }

    void setVisible(bool isVisible) {
        visible = isVisible;
        DGAApplicationWindows::sharedWindows().setVisible(this, isVisible);
    }

    bool visible = false;
    int broughtToFront = 0;
    int centred = 0;
};

struct FakePrompt final : FakeWindow<DGAFrozeWindowInterface> {
    void setLevel(int newLevel) override { level = newLevel; }
    void show() override { setVisible(true); }
    std::weak_ptr<DGAFrozeWindowDelegate> delegate;
    int level = -1;
};

struct FakeReportWindow final : FakeWindow<DGAProblemReportingWindowInterface> {
    void showPRWindow() override {
        ++shown;
        clientWasFrozen = record().isFreeze;
        setVisible(true);
    }
    int shown = 0;
    bool clientWasFrozen = false;
};

class FakeUploadWindow : public FakeWindow<DGAUploadWindowInterface> {
public:
    using FakeWindow::FakeWindow;
    void showUploadWindowIfScreenShot(const DGAReportOptions&, const std::string&, int64_t) override {}
};

class FakeFactory final : public DGAWindowFactory {
public:
    std::shared_ptr<DGAFrozeWindowInterface> makeFrozeWindow(
        std::weak_ptr<DGAFrozeWindowDelegate> delegate) override {
        ++prompts;
        prompt = std::make_shared<FakePrompt>();
        prompt->delegate = std::move(delegate);
        return prompt;
    }
    std::shared_ptr<DGAProblemReportingWindowInterface> makeProblemReportingWindow() override {
        return report = std::make_shared<FakeReportWindow>();
    }
    std::shared_ptr<DGAUploadWindowInterface> makeUploadWindow() override {
        return std::make_shared<FakeUploadWindow>();
    }

    int prompts = 0;
    std::shared_ptr<FakePrompt> prompt;
    std::shared_ptr<FakeReportWindow> report;
};

class RecordingGenerator final : public DGAReportGenerator {
public:
    void startOnceGenerateReportIfScreenShot(const DGAReportOptions& options,
                                             std::function<void()> done) override {
        requests.push_back(options);
        completion = std::move(done);
    }

    std::vector<DGAReportOptions> requests;
    std::function<void()> completion;
};

// A process table in files.
class ProcessTree {
public:
    ProcessTree() { EXPECT_TRUE(mkdtemp(root.data())); }
    ~ProcessTree() { std::filesystem::remove_all(root); }

    void put(const std::string& pid, int startTime, char state = 'S', const char* name = "client") const {
        std::filesystem::create_directories(root + "/" + pid);
        std::ofstream(root + "/" + pid + "/stat")
            << pid << " (" << name << ") " << state << " 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 "
            << startTime << " 20 21\n";
    }
    void remove(const std::string& pid) const { std::filesystem::remove_all(root + "/" + pid); }
    platform::RunningApplications applications() const { return platform::RunningApplications(root); }

    std::string root = "/tmp/watch-test-XXXXXX";
};

class Child {
public:
    Child() : pid(fork()) {
        if (pid == 0) {
            pause();
            _exit(0);
        }
    }
    ~Child() {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
    /// Whether it ends, or has ended; it stays a zombie.
    bool ends(bool wait) const {
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT | (wait ? 0 : WNOHANG));
        return info.si_pid == pid;
    }
    const pid_t pid;
};

class WatchTest : public testing::Test {
protected:
    WatchTest() {
        record().isUT = true;
        record().readyToQuit = false;
        record().clientHasQuit = false;
        record().endReported = false;
        record().serviceType = 1;
        record().pID.set("4711");
        DGAApplicationWindows::sharedWindows().installFactory(factory);
        tree.put("4711", 100);
    }
    ~WatchTest() override {
        RunLoop::main().runFor(1ms);
        DGAApplicationWindows::sharedWindows().rpWindowCtrl.reset();
        DGAApplicationWindows::sharedWindows().uploadWindowCtrl.reset();
        DGAApplicationWindows::sharedWindows().installFactory(nullptr);
    }

    DGAHeartBeatCheckTool::Parts parts(bool startThread = false) const {
        return {.generator = generator,
                .applications = tree.applications(),
                .canHear = [this] { return canHear.load(); },
                .tick = 2ms,
                .startThread = startThread};
    }
    static void tick(DGAHeartBeatCheckTool& tool, int times) {
        for (int i = 0; i < times; ++i)
            tool.heartBeatCheck();
    }
    static bool serveUntil(const std::function<bool()>& reached) {
        for (int i = 0; i < 1000 && !reached(); ++i)
            RunLoop::main().runFor(5ms);
        return reached();
    }
    bool promptIsUp() const { return factory->prompt && factory->prompt->visible; }
    int reportWindowsShown() const { return factory->report ? factory->report->shown : 0; }

    ProcessTree tree;
    std::atomic<bool> canHear{true};
    std::shared_ptr<FakeFactory> factory = std::make_shared<FakeFactory>();
    std::shared_ptr<RecordingGenerator> generator = std::make_shared<RecordingGenerator>();
};

TEST(RunningApplicationsTest, FindsRunningProcessesByTheirExactId) {
    const ProcessTree tree;
    tree.put("7", 42, 'S', "odd) Z (name");
    tree.put("8", 1, 'Z');
    tree.put("9", 1, 'X');
    tree.put("007", 1);
    tree.put("self", 1);
    tree.put("11", 1);
    const auto found = tree.applications().withProcessIdentifier("7");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->startTime, 42U);
    for (const char* text : {"8", "9", "10", "007", "self", "", "-7", "7/../11", " 7", "99999999999999"})
        EXPECT_FALSE(tree.applications().withProcessIdentifier(text)) << text;
    if (geteuid() == 0 && chown((tree.root + "/11").c_str(), 12345, 0) == 0) {
        EXPECT_FALSE(tree.applications().withProcessIdentifier("11"));
    }
    const std::string own = std::to_string(getpid());
    const auto self = platform::RunningApplications().withProcessIdentifier(own);
    EXPECT_TRUE(self && self->startTime > 0) << "the real table";

    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const auto unreadable = platform::RunningApplications().withProcessIdentifier(own);
    const auto gone = platform::RunningApplications().withProcessIdentifier("4194305");
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_TRUE(unreadable && unreadable->startTime == 0) << "out of handles: it may well run";
    EXPECT_FALSE(gone);
    // A folder that cannot be looked at says nothing, either.
    std::filesystem::create_symlink(tree.root + "/12", tree.root + "/12");
    const auto odd = tree.applications().withProcessIdentifier("12");
    EXPECT_TRUE(odd && odd->startTime == 0);
}

TEST_F(WatchTest, AsksAtTheTickThatReaches182SecondsAndAtMostTwice) {
    DGAHeartBeatCheckTool tool(parts());
    for (int asked = 1; asked <= 2; ++asked) {
        tick(tool, 90);
        EXPECT_FALSE(promptIsUp());
        tick(tool, 1);
        EXPECT_TRUE(promptIsUp());
        EXPECT_EQ(factory->prompts, asked);
        EXPECT_EQ(factory->prompt->level, 3);
        EXPECT_TRUE(factory->prompt->centred);
        record().readyToQuit = true;
        factory->prompt->delegate.lock()->frozeWindowButtonDidClickWithIndex(1);
        EXPECT_FALSE(promptIsUp());
        EXPECT_FALSE(record().readyToQuit);
    }
    tick(tool, 200);
    EXPECT_EQ(factory->prompts, 2);
    EXPECT_TRUE(generator->requests.empty());
}

TEST_F(WatchTest, CountsAPromptThatCannotBeShown) {
    DGAApplicationWindows::sharedWindows().installFactory(nullptr);
    DGAHeartBeatCheckTool tool(parts());
    tick(tool, 92);
    DGAApplicationWindows::sharedWindows().installFactory(factory);
    tick(tool, 10);
    EXPECT_EQ(factory->prompts, 0) << "asked twice already";
    tree.remove("4711");
    tick(tool, 1);
    EXPECT_EQ(generator->requests.size(), 1U) << "the watch goes on";
}

TEST_F(WatchTest, AsksNobodyWhereThePolicyForbidsIt) {
    auto forbidding = parts();
    forbidding.policy = [] {
        return DGAPolicy(
            {platform::AdministratorFile::State::read, {}, {{"Watch", "FreezePrompt", "never"}}});
    };
    const size_t before = record().events.all().size();
    DGAHeartBeatCheckTool tool(std::move(forbidding));
    tick(tool, 200);
    EXPECT_EQ(factory->prompts, 0);
    EXPECT_EQ(record().events.all().size(), before + 2) << "the freeze is told all the same";
}

TEST_F(WatchTest, SilenceCountsOnlyWhileHeartbeatsCanArrive) {
    DGAHeartBeatCheckTool tool(parts());
    tick(tool, 90);
    canHear = false;
    tick(tool, 200);
    EXPECT_FALSE(promptIsUp());
    canHear = true;
    tick(tool, 90);
    EXPECT_FALSE(promptIsUp()) << "counted from zero";
    tick(tool, 1);
    ASSERT_TRUE(promptIsUp());
    canHear = false;
    tick(tool, 1);
    tool.judgeIfShowReportWindow();
    EXPECT_FALSE(promptIsUp()) << "a request without silence answers the prompt";
    EXPECT_EQ(reportWindowsShown(), 1);
    tree.remove("4711");
    tick(tool, 1);
    EXPECT_EQ(generator->requests.size(), 1U) << "the process is watched all the same";
}

TEST_F(WatchTest, ThePromptClosesByItselfWhenTheClientBeatsSaysGoodbyeOrIsGone) {
    struct Case {
        const char* what;
        std::function<void(DGADealNotifTargetTool&)> happen;
        size_t reports;
    };
    const Case cases[] = {
        {"beats", [](auto& target) { target.dealHeartBeatFromClient({}); }, 0},
        {"goodbye", [](auto& target) { target.dealNormalQuitFromClient({}); }, 1},
        {"gone", [&](auto&) { tree.remove("4711"); }, 1},
        {"gone when ready", [&](auto&) { record().readyToQuit = true, tree.remove("4711"); }, 0},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        tree.put("4711", 100);
        record().readyToQuit = record().clientHasQuit = false;
        generator->requests.clear();
        DGADealNotifTargetTool target(parts(true), generator);
        ASSERT_TRUE(serveUntil([&] { return promptIsUp(); }));
        const int asked = factory->prompts;
        RunLoop::main().runFor(30ms);
        EXPECT_TRUE(promptIsUp());
        test.happen(target);
        EXPECT_TRUE(serveUntil([&] { return !promptIsUp() && generator->requests.size() == test.reports; }));
        EXPECT_EQ(factory->prompts, asked);
        target.dealHeartBeatFromClient({});
    }
}

TEST_F(WatchTest, ReadyOnceTheGoodbyesReportHasEndedHoweverThePromptIsAnswered) {
    DGADealNotifTargetTool target(parts(true), generator);
    ASSERT_TRUE(serveUntil([&] { return promptIsUp(); }));
    const auto answer = factory->prompt->delegate.lock();
    target.dealNormalQuitFromClient({});
    tree.remove("4711");
    generator->completion();
    ASSERT_TRUE(serveUntil([] { return record().readyToQuit.load(); }));
    answer->frozeWindowButtonDidClickWithIndex(1);
    EXPECT_TRUE(serveUntil([] { return record().readyToQuit.load(); }));
}

TEST_F(WatchTest, TheProcessIsPinnedWhenItsIdArrives) {
    const Child client;
    const std::string id = std::to_string(client.pid);
    record().pID.set(id);
    tree.put(id, 100);
    DGAHeartBeatCheckTool tool(parts());
    tool.pinClient();
    tree.put(id, 101);
    tick(tool, 1);
    EXPECT_EQ(generator->requests.size(), 1U) << "another process by the first tick";
    tool.frozeWindowButtonDidClickWithIndex(0);
    EXPECT_FALSE(client.ends(false));
}

TEST_F(WatchTest, ReportRequestPrefersTheVisibleUploadWindow) {
    DGAHeartBeatCheckTool tool(parts());
    const auto upload = std::make_shared<FakeUploadWindow>();
    DGAApplicationWindows::sharedWindows().uploadWindowCtrl = upload;
    tool.judgeIfShowReportWindow();
    tool.judgeIfShowReportWindow();
    EXPECT_EQ(reportWindowsShown(), 2) << "one window, shown again";
    upload->setVisible(true);
    tool.judgeIfShowReportWindow();
    EXPECT_EQ(reportWindowsShown(), 2);
    EXPECT_EQ(upload->broughtToFront, 1);
    EXPECT_EQ(upload->centred, 1);
}

TEST_F(WatchTest, CrashIsReportedOnceHoweverTheProcessVanishes) {
    const Child zombie;
    kill(zombie.pid, SIGKILL);
    zombie.ends(true);
    struct Case {
        const char* what;
        std::string pID;
        std::function<void()> vanish;
    };
    const Case cases[] = {
        {"gone", "4711", [&] { tree.remove("4711"); }},
        {"its id was given to another", "4711", [&] { tree.put("4711", 101); }},
        {"waits to be collected", std::to_string(zombie.pid), [] {}},
        {"never seen", "4712", [] {}},
        {"no process id at all", "client", [] {}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        record().pID.set(test.pID);
        record().readyToQuit = false;
        tree.put("4711", 100);
        factory->report.reset();
        DGAApplicationWindows::sharedWindows().rpWindowCtrl.reset();
        generator->requests.clear();
        auto watch = parts();
        if (test.pID == std::to_string(zombie.pid))
            watch.applications = platform::RunningApplications();
        DGAHeartBeatCheckTool tool(watch);
        if (test.pID == "4711") {
            tick(tool, 3);
            EXPECT_TRUE(generator->requests.empty());
        }
        test.vanish();
        tick(tool, 120);
        ASSERT_TRUE(generator->completion);
        EXPECT_EQ(reportWindowsShown(), 0);
        generator->completion();
        EXPECT_FALSE(record().readyToQuit) << "before the window is up";
        RunLoop::main().runFor(1ms);
        EXPECT_TRUE(record().readyToQuit);
        EXPECT_EQ(generator->requests, (std::vector<DGAReportOptions>{{false, true, true, 1}}));
        EXPECT_EQ(reportWindowsShown(), 1);
        EXPECT_EQ(factory->prompts, 0);
    }
}

TEST_F(WatchTest, ClientThatSaidGoodbyeHasNotCrashed) {
    for (const int64_t serviceType : {1, 10, 5}) {
        record().serviceType = serviceType;
        record().clientHasQuit = true;
        record().readyToQuit = false;
        DGAHeartBeatCheckTool tool(parts());
        tick(tool, 1);
        tree.remove("4711");
        tick(tool, 5);
        RunLoop::main().runFor(1ms);
        EXPECT_TRUE(generator->requests.empty());
        EXPECT_EQ(reportWindowsShown(), 0);
        EXPECT_EQ(record().readyToQuit, serviceType == 5) << "no report will come for that service";
    }
}

TEST_F(WatchTest, WithoutAProcessIdReadyToQuitAfter30Seconds) {
    for (const auto& pID : {std::optional<std::string>(), std::optional<std::string>("")}) {
        record().pID.set(pID);
        record().readyToQuit = false;
        DGAHeartBeatCheckTool tool(parts());
        tick(tool, 14);
        EXPECT_FALSE(record().readyToQuit);
        tick(tool, 1);
        EXPECT_TRUE(record().readyToQuit);
    }
    EXPECT_TRUE(generator->requests.empty());
}

TEST_F(WatchTest, QuitAndSendEndsOnlyTheWatchedProcess) {
    for (const bool sameProcess : {true, false}) {
        const Child client;
        const std::string id = std::to_string(client.pid);
        record().pID.set(id);
        record().readyToQuit = false;
        tree.put(id, 100);
        DGAHeartBeatCheckTool tool(parts());
        tick(tool, 91);
        ASSERT_TRUE(promptIsUp());
        tree.put(id, sameProcess ? 100 : 101);
        factory->prompt->delegate.lock()->frozeWindowButtonDidClickWithIndex(0);
        RunLoop::main().runFor(50ms);  // time for a signal to take effect
        EXPECT_EQ(client.ends(sameProcess), sameProcess);
        EXPECT_TRUE(factory->report->clientWasFrozen);
        EXPECT_FALSE(record().isFreeze);
        EXPECT_TRUE(record().readyToQuit);
        EXPECT_FALSE(promptIsUp());
        tick(tool, 1);
        EXPECT_TRUE(generator->requests.empty()) << "not a crash";
    }
}

TEST_F(WatchTest, GoodbyeThatWaitsForTheMainThreadCounts) {
    tree.remove("4711");
    platform::performOnMain([] { record().clientHasQuit = true; });
    const DGAHeartBeatCheckTool tool(parts(true));
    std::this_thread::sleep_for(50ms);
    RunLoop::main().runFor(50ms);
    EXPECT_EQ(reportWindowsShown(), 0);
}

TEST_F(WatchTest, EndsWhileTheWatchWaitsForTheMainThread) {
    tree.remove("4711");
    {
        const DGAHeartBeatCheckTool tool(parts(true));
        std::this_thread::sleep_for(50ms);
    }
    RunLoop::main().runFor(1ms);
    EXPECT_EQ(factory->prompts, 0);
}

TEST_F(WatchTest, SecondGoodbyeAsksForNoSecondReport) {
    DGADealNotifTargetTool target(parts(), generator);
    target.dealNormalQuitFromClient({});
    target.dealNormalQuitFromClient({});
    EXPECT_EQ(generator->requests, (std::vector<DGAReportOptions>{{false, true, false, 1}}));
    EXPECT_FALSE(record().readyToQuit);
    generator->completion();
    target.dealGenerateReportFromClient({});
    EXPECT_TRUE(serveUntil([&] { return factory->report && factory->report->broughtToFront > 0; }));
    EXPECT_TRUE(record().readyToQuit);
}

TEST(ReportGeneratorTest, OnceIsOnceForAllInstances) {
    static int runs = 0;
    struct Counting final : DGAReportGenerator {
        void startGenerateReportIfScreenShot(const DGAReportOptions&, std::function<void()>) override {
            ++runs;
        }
    } first, second;
    for (Counting* const generator : {&first, &second, &first})
        generator->startOnceGenerateReportIfScreenShot(
            {.systemInfo = true, .crashLog = true, .serviceType = 1}, nullptr);
    EXPECT_EQ(runs, 1);
}

}  // namespace
