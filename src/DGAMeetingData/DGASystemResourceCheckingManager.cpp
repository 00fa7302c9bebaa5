#include "DGAMeetingData/DGASystemResourceCheckingManager.h"

#include <algorithm>
#include <utility>

#include "DGAMeetingData/DGAResourceTrace.h"
#include "DGAMeetingData/HealthCheckerSystemInfoGetter.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "platform/DGALoopThread.h"
#include "platform/ProcessListing.h"
#include "platform/RunLoop.h"
#include "support/ORVNLogger.h"

namespace {

constexpr int64_t kSampleLevel = 1;
constexpr char kUnknownApplication[] = "-";

}  // namespace

DGASystemResourceCheckingManager& DGASystemResourceCheckingManager::shareCheckingManager() {
    static auto* const manager = new DGASystemResourceCheckingManager(
        [listing = std::make_shared<platform::ProcessListing>()] { return listing->read(); });
    return *manager;
}

DGASystemResourceCheckingManager::DGASystemResourceCheckingManager(ListingSource listing,
                                                                   std::chrono::milliseconds interval)
    : listing_(std::move(listing)), interval_(interval) {}

DGASystemResourceCheckingManager::~DGASystemResourceCheckingManager() = default;

void DGASystemResourceCheckingManager::startChecking() {
    ORVN_LOG_METHOD();
    if (thread_)
        return;
    counter_ = 1;
    thread_ = std::make_unique<DGALoopThread>("dga-sampler", [this] { doInitailize(); });
    thread_->start();
}

void DGASystemResourceCheckingManager::doInitailize() {
    ORVN_LOG_METHOD();
    takeBaseline();
    platform::RunLoop& loop = platform::RunLoop::current();
    timer_ = std::make_unique<platform::Timer>(loop, interval_, true, [this] { writeIntoCSV(); });
    loop.run();
    timer_.reset();
}

void DGASystemResourceCheckingManager::takeBaseline() const {
    double usage = 0.0;
    GetOverallCPUUsage(usage);
    listing_();
}

DGASystemResourceCheckingManager::ProcessList DGASystemResourceCheckingManager::allProcessList() const {
    const auto listing = listing_();
    return listing ? parseProcessListing(*listing) : ProcessList();
}

std::optional<DGASystemResourceCheckingManager::ProcessList>
DGASystemResourceCheckingManager::getTopUtilizationProcesses() const {
    return topUtilizationProcesses(allProcessList(), &containOrvaneProcessInfo, &containDGAProcessInfo);
}

bool DGASystemResourceCheckingManager::containOrvaneProcessInfo(const DGAProcessRecord& record) {
    return record.processID == DGASessionRecord::sharedRecord().pID.get();
}

bool DGASystemResourceCheckingManager::containDGAProcessInfo(const DGAProcessRecord& record) {
    return record.processID == DGASessionRecord::sharedRecord().dga_pID.get();
}

std::optional<DGAProcessRecord> DGASystemResourceCheckingManager::getOrvaneCPUMemoryInfoByPID(
    const std::string& processID) const {
    ProcessList processes = allProcessList();
    const auto found = std::find_if(processes.begin(), processes.end(), [&processID](const auto& record) {
        return record.processID == processID;
    });
    return found == processes.end() ? std::nullopt : std::optional<DGAProcessRecord>(std::move(*found));
}

std::string DGASystemResourceCheckingManager::dealWithFilePathWithPid(int32_t processID) {
    const auto path = platform::executablePathOf(processID);
    return path ? path->substr(path->rfind('/') + 1) : kUnknownApplication;
}

void DGASystemResourceCheckingManager::writeIntoCSV() {
    ORVN_LOG_METHOD();
    auto processes = getTopUtilizationProcesses();
    const auto ownID = DGASessionRecord::sharedRecord().dga_pID.get();
    const DGAResourceTrace trace{kSampleLevel, static_cast<int64_t>(counter_.load())};
    trace.saveOverall(integerIn(ownID.value_or("")));
    if (!processes)
        return;
    for (DGAProcessRecord& process : *processes) {
        // A "^" may stand for a character that the listing could not show.
        if (process.appPath.find('^') != std::string::npos)
            process.appPath = dealWithFilePathWithPid(static_cast<int32_t>(integerIn(process.processID)));
        trace.saveProcess("", process);
    }
    ++counter_;
}
