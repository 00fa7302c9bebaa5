#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "DGAMonitor/Report/DGAReportGenerator.h"
#include "DGAMonitor/Session/DGAPolicy.h"
#include "DGAMonitor/Watch/DGAWatchVerdict.h"
#include "DGAMonitor/Windows/DGAWindowInterfaces.h"
#include "platform/PinnedProcess.h"
#include "platform/RunningApplications.h"

class DGALoopThread;

namespace platform {
class Timer;
}

/// Watches the client: every 2 seconds a tick on a thread of its own looks for the client's process and
/// counts the seconds since the last heartbeat, but only while heartbeats can arrive and no prompt is up.
/// Asks the user about a frozen client, reports a crashed one once, and hands over to the quit policy when
/// nothing is left to watch. The prompt closes by itself when the client beats again, says goodbye or is
/// gone. Also decides which window answers a report request.
///
/// Made, ended and told about heartbeats, requests and answers on the main thread.
class DGAHeartBeatCheckTool final : public DGAReportGeneratorDelegate, public DGAFrozeWindowDelegate {
public:
    /// What the watch is made of.
    struct Parts {
        std::shared_ptr<DGAReportGenerator> generator;  ///< one of its own if null
        platform::RunningApplications applications;
        std::function<bool()> canHear =
            {};  ///< whether heartbeats can arrive, any thread; empty: the bus's answer
        std::chrono::milliseconds tick{2000};
        std::function<DGAPolicy()> policy = &DGAPolicy::current;  ///< before each prompt
        bool startThread = true;  ///< without it the ticks come from outside only
    };

    /// Starts the watch.
    DGAHeartBeatCheckTool();
    explicit DGAHeartBeatCheckTool(Parts parts);

    /// As stopCheck().
    ~DGAHeartBeatCheckTool() override;
    DGAHeartBeatCheckTool(const DGAHeartBeatCheckTool&) = delete;
    DGAHeartBeatCheckTool& operator=(const DGAHeartBeatCheckTool&) = delete;

    /// One tick. On the watch thread; where none was started, on the main thread.
    void heartBeatCheck();

    /// A heartbeat came: the silence ends, and so does the prompt.
    void reloadCheck();

    /// The session record has the client's process id: holds on to the process that has it now.
    void pinClient();

    /// The client has said goodbye: the prompt is answered by that.
    void clientSaidGoodbye();

    /// Ends the watch; returns when no tick runs any more.
    void stopCheck();

    /// Answers a report request: with the upload window if it is up, else with the problem reporting window.
    void judgeIfShowReportWindow();

    /// Asks the user about a frozen client; the silence is not counted until there is an answer. Where no
    /// prompt can or may be shown it counts as asked and the watch goes on.
    void frozeAlert();

    /// The answer: 0 quit the client and report, 1 wait, -1 the client works again.
    void frozeWindowButtonDidClickWithIndex(int index) override;

    void reportFileGeneratedAt(const std::string& path) override;

private:
    struct MainHop;

    void doInitialize();
    double countSilence(bool clientKnown);
    void check(DGAWatchFacts& facts);
    platform::PinnedProcess& pinnedProcess(const std::string& processID);
    bool checkProcessWithArr(const std::string& monitoredPID);
    void findProcess(DGAWatchVerdict verdict);
    static void judgeIfReadyToQuit(DGAWatchVerdict verdict);
    void dealCrash();
    void judgeIfShouldHideFrozeWindowWhileReceiveHeartbeat();
    void hideFrozeWindowWhileReceivedHeartbeat();
    void showUploadWindowWhileExistAlready();
    static void showReportWindowWhileNoWindowVisible();
    void generateReportWindow();
    void killWatchedProcess();
    void closeFrozeWindow();
    bool isSilentForAtMost(double seconds);
    void performOnMainAndWait(const std::function<void()>& call);
    std::shared_ptr<platform::Timer> timer();

    Parts parts_;
    std::shared_ptr<MainHop> hop_;
    // Guards what both threads use: the interval, the pinned process and the timer.
    std::mutex lock_;
    double timeInterval_ = 0.0;
    platform::PinnedProcess watched_;
    std::shared_ptr<platform::Timer> timer_;

    std::atomic<int32_t> frozenWindowShowingTimesFlag_{0};
    std::atomic<bool> promptIsUp_{false};
    bool crashSeen_ = false;
    std::shared_ptr<DGAFrozeWindowInterface> frozeWinCtrl_;
    // What others hold weakly; it ends with this object.
    std::shared_ptr<DGAHeartBeatCheckTool> self_;
    std::unique_ptr<DGALoopThread> thread_;
};
