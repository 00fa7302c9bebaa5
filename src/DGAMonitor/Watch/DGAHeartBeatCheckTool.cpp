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
    facts.readyToQuit = record().readyToQuit;
    if (!facts.readyToQuit) {
        {
            const std::lock_guard<std::mutex> hold(lock_);
            timeInterval_ += kTickSeconds;
            facts.silence = timeInterval_;
        }
        check(facts);
    }
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

void DGAHeartBeatCheckTool::check(DGAWatchFacts& facts) {
    const auto monitoredPID = record().pID.get();
    facts.clientKnown = monitoredPID && !monitoredPID->empty();
    if (!facts.clientKnown)
        return;
    facts.promptsSoFar = frozenWindowShowingTimesFlag_;
    facts.processFound = checkProcessWithArr(processInfo(), *monitoredPID);
    // A goodbye that has come, but that the main thread has not read yet, counts.
    if (!facts.processFound && !crashSeen_ && !record().clientHasQuit)
        performOnMainAndWait([] {});
    facts.clientHasQuit = record().clientHasQuit;
}

bool DGAHeartBeatCheckTool::checkProcessWithArr(const platform::RunningApplications& applications,
                                                const std::string& monitoredPID) {
    const auto found = applications.withProcessIdentifier(monitoredPID);
    if (!found)
        return false;
    const std::lock_guard<std::mutex> hold(lock_);
    if (watched_.text != monitoredPID || watched_.process.startTime == 0)
        watched_ = {monitoredPID, *found};
    // Another start time: the client is gone and its process id was given to somebody else.
    return found->startTime == 0 || found->startTime == watched_.process.startTime;
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
            // Where there is a report to wait for, its end makes the assistant ready.
            if (!DGAReportGenerator::hasReports(record().serviceType))
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
    const auto getReady = [] { record().readyToQuit = true; };
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

void DGAHeartBeatCheckTool::judgeIfShouldHideFrozeWindowWhileReceiveHeartbeat() {
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
    const auto watchTimer = timer();
    if (watchTimer)
        watchTimer->pause();
    if (frozeWinCtrl_)
        return;
    ++frozenWindowShowingTimesFlag_;
    record().events.add(DGASessionEventKind::freeze);
    frozeWinCtrl_ = DGAApplicationWindows::sharedWindows().makeFrozeWindow(self_);
    if (!frozeWinCtrl_) {
        // Nobody will ever answer.
        if (watchTimer)
            watchTimer->fireAfter(parts_.tick);
        return;
    }
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
    const auto text = record().pID.get();
    const auto found = text ? processInfo().withProcessIdentifier(*text) : std::nullopt;
    bool isWatched = false;
    if (found && found->startTime != 0) {
        const std::lock_guard<std::mutex> hold(lock_);
        isWatched = watched_.text == *text && watched_.process.startTime == found->startTime;
    }
    if (!isWatched) {
        logWarning("the client is not ended: its process id does not name the watched process");
        return;
    }
    const auto said = DGATaskTool::runTaskWithCMD("/bin/kill -9 " + std::to_string(found->processIdentifier));
    if (!said || !said->empty())
        logWarning("the client could not be ended: {}", support::orNull(said));
}

void DGAHeartBeatCheckTool::reportFileGeneratedAt(const std::string& /*path*/) {
    ORVN_LOG_METHOD();
    record().readyToQuit = true;
}
