#include "DGAMonitor/Watch/DGAHeartBeatCheckTool.h"

#include <condition_variable>
#include <optional>
#include <utility>

#include "DGAMeetingData/DGAUtilitiesResources.h"
#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGASessionTelemetry.h"
#include "DGAMonitor/Utilities/Tool/DGATaskTool.h"
#include "DGAMonitor/Watch/DGAUtilitiesQuit.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAMonitor/Windows/DGAUtilitiesWindows.h"
#include "platform/DGALoopThread.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/RunLoop.h"
#include "support/ORVNLogger.h"

namespace {

constexpr double kTickSeconds = 2.0;
constexpr double kPromptRecencySeconds = 11.0;

DGASessionRecord& record() {
    return DGASessionRecord::sharedRecord();
}

}  // namespace

// A call that the watch thread waits for on the main thread. stopCheck(), on the main thread, ends the
// waiting: otherwise the two threads could wait for each other.
struct DGAHeartBeatCheckTool::MainHop {
    std::mutex mutex;
    std::condition_variable changed;
    bool stopped = false;

    void stop() {
        const std::lock_guard<std::mutex> hold(mutex);
        stopped = true;
        changed.notify_all();
    }
};

DGAHeartBeatCheckTool::DGAHeartBeatCheckTool() : DGAHeartBeatCheckTool(Parts()) {}

DGAHeartBeatCheckTool::DGAHeartBeatCheckTool(Parts parts)
    : parts_(std::move(parts)),
      hop_(std::make_shared<MainHop>()),
      self_(this, [](DGAHeartBeatCheckTool*) {}) {
    if (!parts_.canHear)
        parts_.canHear = [] {
            return platform::DistributedNotificationCenter::defaultCenter().isConnected();
        };
    if (!parts_.generator)
        parts_.generator = std::make_shared<DGAReportGenerator>();
    parts_.generator->setDelegate(self_);
    if (!parts_.startThread)
        return;
    thread_ = std::make_unique<DGALoopThread>("heartbeat watch", [this] { doInitialize(); });
    thread_->start();
}

DGAHeartBeatCheckTool::~DGAHeartBeatCheckTool() {
    stopCheck();
    self_.reset();
}

void DGAHeartBeatCheckTool::doInitialize() {
    ORVN_LOG_METHOD();
    auto& loop = platform::RunLoop::current();
    {
        const std::lock_guard<std::mutex> hold(lock_);
        timer_ = std::make_shared<platform::Timer>(loop, parts_.tick, true, [this] { heartBeatCheck(); });
    }
    loop.run();
    const std::lock_guard<std::mutex> hold(lock_);
    timer_.reset();
}

void DGAHeartBeatCheckTool::stopCheck() {
    ORVN_LOG_METHOD();
    hop_->stop();
    {
        const std::lock_guard<std::mutex> hold(lock_);
        timeInterval_ = 0.0;
        if (timer_)
            timer_->invalidate();
        timer_.reset();
    }
    thread_.reset();
}

std::shared_ptr<platform::Timer> DGAHeartBeatCheckTool::timer() {
    const std::lock_guard<std::mutex> hold(lock_);
    return timer_;
}

bool DGAHeartBeatCheckTool::isSilentForAtMost(double seconds) {
    const std::lock_guard<std::mutex> hold(lock_);
    return timeInterval_ <= seconds;
}

void DGAHeartBeatCheckTool::performOnMainAndWait(const std::function<void()>& call) {
    if (!parts_.startThread) {
        platform::performOnMainAndWait(call);
        return;
    }
    auto done = std::make_shared<bool>(false);
    platform::performOnMain([hop = hop_, done, call] {
        {
            const std::lock_guard<std::mutex> hold(hop->mutex);
            if (hop->stopped)
                return;
        }
        call();
        const std::lock_guard<std::mutex> hold(hop->mutex);
        *done = true;
        hop->changed.notify_all();
    });
    std::unique_lock<std::mutex> hold(hop_->mutex);
    hop_->changed.wait(hold, [&] { return *done || hop_->stopped; });
}

void DGAHeartBeatCheckTool::heartBeatCheck() {
    DGAWatchFacts facts;
    facts.promptIsUp = promptIsUp_;
    facts.readyToQuit = record().readyToQuit;
    if (!facts.readyToQuit || facts.promptIsUp)
        check(facts);
    // Nobody is left whom the answer could be about.
    if (facts.promptIsUp && !facts.processFound)
        performOnMainAndWait([this] { closeFrozeWindow(); });
    const DGAWatchVerdict verdict = dgaWatchVerdict(facts);
    switch (verdict) {
        case DGAWatchVerdict::judgeQuit:
            DGAUtilities::dga_judgeIfNeedQuit();
            break;
        case DGAWatchVerdict::awaitClient:
        case DGAWatchVerdict::noClient:
            judgeIfReadyToQuit(verdict);
            break;
        default:
            findProcess(verdict);
            break;
    }
}

// A client that cannot be heard is not silent. One that has not said who it is has to be waited for all the
// same.
double DGAHeartBeatCheckTool::countSilence(bool clientKnown) {
    const bool canHear = !clientKnown || parts_.canHear();
    const std::lock_guard<std::mutex> hold(lock_);
    if (!canHear)
        timeInterval_ = 0.0;
    else if (!promptIsUp_)
        timeInterval_ += kTickSeconds;
    return timeInterval_;
}

void DGAHeartBeatCheckTool::check(DGAWatchFacts& facts) {
    const auto monitoredPID = record().pID.get();
    facts.clientKnown = monitoredPID && !monitoredPID->empty();
    facts.silence = countSilence(facts.clientKnown);
    if (!facts.clientKnown)
        return;
    facts.promptsSoFar = frozenWindowShowingTimesFlag_;
    facts.processFound = checkProcessWithArr(*monitoredPID);
    // A goodbye that has come, but that the main thread has not read yet, counts.
    if (!facts.processFound && !crashSeen_ && !record().clientHasQuit)
        performOnMainAndWait(
            [] { platform::DistributedNotificationCenter::defaultCenter().deliverOvertaking(); });
    facts.clientHasQuit = record().clientHasQuit;
}

// Under the lock.
platform::PinnedProcess& DGAHeartBeatCheckTool::pinnedProcess(const std::string& processID) {
    if (watched_.text() != processID)
        watched_ = platform::PinnedProcess(parts_.applications, processID);
    return watched_;
}

bool DGAHeartBeatCheckTool::checkProcessWithArr(const std::string& monitoredPID) {
    const std::lock_guard<std::mutex> hold(lock_);
    return pinnedProcess(monitoredPID).isRunning();
}

void DGAHeartBeatCheckTool::pinClient() {
    const std::string processID = record().pID.get().value_or("");
    const std::lock_guard<std::mutex> hold(lock_);
    pinnedProcess(processID);
}

void DGAHeartBeatCheckTool::findProcess(DGAWatchVerdict verdict) {
    switch (verdict) {
        case DGAWatchVerdict::crashed:
            logInfo("checkProcessWithArr,no orvane client process (crash)");
            if (!std::exchange(crashSeen_, true))
                dealCrash();
            break;
        case DGAWatchVerdict::leftNormally:
            logInfo("checkProcessWithArr,no orvane client process (quit)");
            // Where there is a report to wait for, its end makes the assistant ready, and it stays so,
            // however a prompt was answered.
            if (record().endReported || !DGAReportGenerator::hasReports(record().serviceType))
                record().readyToQuit = true;
            break;
        case DGAWatchVerdict::askUser:
            DGAUtilities::dga_recordCPUMemoryInfo();
            performOnMainAndWait([this] { frozeAlert(); });
            break;
        default:
            break;
    }
}

void DGAHeartBeatCheckTool::dealCrash() {
    record().events.add(DGASessionEventKind::crash);
    const int64_t serviceType = record().serviceType;
    DGAUtilities::dga_recordCPUMemoryInfo();
    // The delegate is told of an archive only; where none could be made, the end of the run has to do, or the
    // assistant would outlive its client for ever. On the main thread, behind the window: that may take
    // longer to come up than the report, and without one the assistant would quit.
    const auto getReady = [] {
        record().endReported = true;
        record().readyToQuit = true;
    };
    platform::performOnMain([self = std::weak_ptr(self_), serviceType, getReady] {
        if (const auto tool = self.lock())
            tool->judgeIfShowReportWindow();
        // Nobody will tell of a report that is never made; from here on the window decides.
        if (!DGAReportGenerator::hasReports(serviceType))
            getReady();
    });
    parts_.generator->startOnceGenerateReportIfScreenShot(
        {.systemInfo = true, .crashLog = true, .serviceType = serviceType},
        [getReady] { platform::performOnMain(getReady); });
    platform::performOnMainAfter(std::chrono::milliseconds(500),
                                 [] { DGAUtilities::dga_bringingAllWindowFront(); });
}

void DGAHeartBeatCheckTool::judgeIfReadyToQuit(DGAWatchVerdict verdict) {
    if (verdict == DGAWatchVerdict::awaitClient) {
        logInfo("DGAHeartBeatCheckTool::check,monitoredPID == nil");
        return;
    }
    logInfo(
        "DGAHeartBeatCheckTool::check,monitoredPID == nil , _timeInterval timeout "
        "(kDGANoClientPIDTimeout).");
    record().readyToQuit = true;
}

void DGAHeartBeatCheckTool::reloadCheck() {
    ORVN_LOG_METHOD();
    {
        const std::lock_guard<std::mutex> hold(lock_);
        timeInterval_ = 0.0;
    }
    judgeIfShouldHideFrozeWindowWhileReceiveHeartbeat();
}

void DGAHeartBeatCheckTool::clientSaidGoodbye() {
    if (frozeWinCtrl_)
        closeFrozeWindow();
}

void DGAHeartBeatCheckTool::judgeIfShouldHideFrozeWindowWhileReceiveHeartbeat() {
    promptIsUp_ = false;
    if (frozeWinCtrl_ && frozeWinCtrl_->isVisible())
        closeFrozeWindow();
}

void DGAHeartBeatCheckTool::judgeIfShowReportWindow() {
    ORVN_LOG_METHOD();
    hideFrozeWindowWhileReceivedHeartbeat();
}

void DGAHeartBeatCheckTool::hideFrozeWindowWhileReceivedHeartbeat() {
    if (frozeWinCtrl_ && isSilentForAtMost(kPromptRecencySeconds))
        frozeWindowButtonDidClickWithIndex(-1);
    else
        showUploadWindowWhileExistAlready();
}

void DGAHeartBeatCheckTool::showUploadWindowWhileExistAlready() {
    const auto window = DGAApplicationWindows::sharedWindows().uploadWindowCtrl;
    if (!window || !window->isVisible()) {
        showReportWindowWhileNoWindowVisible();
        return;
    }
    window->bringToFront();
    window->center();
}

void DGAHeartBeatCheckTool::showReportWindowWhileNoWindowVisible() {
    auto& windows = DGAApplicationWindows::sharedWindows();
    auto& window = windows.rpWindowCtrl;
    if (!window)
        window = windows.makeProblemReportingWindow();
    if (window)
        window->showPRWindow();
}

void DGAHeartBeatCheckTool::frozeAlert() {
    ORVN_LOG_METHOD();
    if (frozeWinCtrl_)
        return;
    ++frozenWindowShowingTimesFlag_;
    record().events.add(DGASessionEventKind::freeze);
    if (!parts_.policy().allows(DGAPolicyKey::freezePrompt)) {
        logInfo("the user is not asked about the frozen client: the administrator's policy forbids it");
        return;
    }
    frozeWinCtrl_ = DGAApplicationWindows::sharedWindows().makeFrozeWindow(self_);
    // Nobody will ever answer.
    if (!frozeWinCtrl_)
        return;
    promptIsUp_ = true;
    frozeWinCtrl_->setLevel(DGAUtilities::dga_fetchWindowLevel());
    frozeWinCtrl_->center();
    frozeWinCtrl_->show();
}

void DGAHeartBeatCheckTool::frozeWindowButtonDidClickWithIndex(int index) {
    logInfo("DGAHeartBeatCheckTool::frozeWindowButtonDidClickWithIndex,which frozenWindow btn is clicked: {}",
            index);
    if (index == -1) {
        showUploadWindowWhileExistAlready();
    } else if (index == 0) {
        record().isFreeze = true;
        dgaSendTelemetryAction(record(), DGATelemetryAction::quitAndSend);
        record().events.add(DGASessionEventKind::quit);
        record().readyToQuit = true;
        generateReportWindow();
        record().isFreeze = false;
    } else if (index == 1) {
        record().readyToQuit = false;
        record().events.add(DGASessionEventKind::wait);
        dgaSendTelemetryAction(record(), DGATelemetryAction::wait);
        const std::lock_guard<std::mutex> hold(lock_);
        timeInterval_ = 0.0;
    }
    closeFrozeWindow();
}

// The watch goes on at once.
void DGAHeartBeatCheckTool::closeFrozeWindow() {
    promptIsUp_ = false;
    if (const auto window = std::move(frozeWinCtrl_)) {
        window->close();
        // Released later: this may be running inside one of the window's own handlers.
        platform::performOnMain([window] {});
    }
    if (const auto watchTimer = timer())
        watchTimer->fireNow();
}

void DGAHeartBeatCheckTool::generateReportWindow() {
    ORVN_LOG_METHOD();
    killWatchedProcess();
    judgeIfShowReportWindow();
}

// Only the process that was watched, whatever its process id names by now.
void DGAHeartBeatCheckTool::killWatchedProcess() {
    using Kill = platform::PinnedProcess::Kill;
    const std::string processID = record().pID.get().value_or("");
    Kill outcome = Kill::gone;
    {
        const std::lock_guard<std::mutex> hold(lock_);
        if (watched_.text() == processID)
            outcome = watched_.kill();
    }
    if (outcome == Kill::gone)
        logWarning("the client is not ended: its process id does not name the watched process");
    if (outcome != Kill::noHandle)
        return;
    const auto said = DGATaskTool::runTaskWithCMD("/bin/kill -9 " + processID);
    if (!said || !said->empty())
        logWarning("the client could not be ended: {}", support::orNull(said));
}

void DGAHeartBeatCheckTool::reportFileGeneratedAt(const std::string& /*path*/) {
    ORVN_LOG_METHOD();
    record().readyToQuit = true;
}
