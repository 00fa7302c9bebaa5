#include "DGAMonitor/Report/DGAReportGenerator.h"

#include <atomic>
#include <condition_variable>
#include <utility>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Report/DGAKeptReports.h"
#include "DGAMonitor/Session/DGAReportResults.h"
#include "platform/RunLoop.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

namespace {

std::atomic<bool> theLastRunFailed{false};

}  // namespace

// Outlives the generator, so that a run can end after it.
struct DGAReportGenerator::Runs {
    std::mutex oneAtATime;
    std::mutex mutex;
    std::condition_variable changed;
    int open = 0;

    void begin() {
        const std::lock_guard<std::mutex> hold(mutex);
        ++open;
    }
    void end() {
        const std::lock_guard<std::mutex> hold(mutex);
        --open;
        changed.notify_all();
    }
    void waitForAll() {
        std::unique_lock<std::mutex> hold(mutex);
        changed.wait(hold, [this] { return open == 0; });
    }
};

DGAReportGenerator::DGAReportGenerator() : DGAReportGenerator(Tools()) {}

DGAReportGenerator::DGAReportGenerator(Tools tools)
    : tools_(DGAReportCollection::realTools(std::move(tools))), runs_(std::make_shared<Runs>()) {}

DGAReportGenerator::~DGAReportGenerator() {
    runs_->waitForAll();
}

bool DGAReportGenerator::hasReports(int64_t serviceType) {
    return serviceType == kDGAServiceTypeHV || serviceType == kDGAServiceTypeKT;
}

void DGAReportGenerator::startGenerateReportIfScreenShot(const DGAReportOptions& options,
                                                         std::function<void()> completion) {
    ORVN_LOG_METHOD();
    if (!hasReports(options.serviceType))
        return;
    runs_->begin();
    platform::BackgroundQueue::global().async(
        [this, options, owner = weak_from_this().lock(), runs = runs_, completion = std::move(completion)] {
            {
                const std::lock_guard<std::mutex> hold(runs->oneAtATime);
                generateReport(options);
            }
            runs->end();
            if (completion)
                completion();
        });
}

void DGAReportGenerator::startOnceGenerateReportIfScreenShot(const DGAReportOptions& options,
                                                             std::function<void()> completion) {
    static std::atomic<bool> started{false};
    if (!started.exchange(true))
        startGenerateReportIfScreenShot(options, std::move(completion));
}

std::string DGAReportGenerator::saveTime() const {
    return tools_.saveTime();
}

bool DGAReportGenerator::lastRunFailed() {
    return theLastRunFailed;
}

struct DGAReportGenerator::Outcome {
    std::string archive;  // its path without ".zip"
    std::string fault;    // why there is none; "" if there is one
    bool lacksPicture = false;
};

void DGAReportGenerator::generateReport(const DGAReportOptions& options) const {
    const Outcome outcome = makeArchive(options);
    if (!outcome.fault.empty())
        logWarning("there is no report: {}", outcome.fault);
    theLastRunFailed = !outcome.fault.empty();
    tellDelegate(outcome);
}

DGAReportGenerator::Outcome DGAReportGenerator::makeArchive(const DGAReportOptions& options) const {
    if (!options.kept.empty()) {
        const auto kept = DGAKeptReports().pathOf(options.kept);
        return {.archive = kept.value_or(""), .fault = kept ? "" : "it is not kept any more"};
    }
    auto collection = options.listing != 0 && tools_.listed ? tools_.listed(options.listing) : nullptr;
    if (!collection || collection->isUsedUp())
        collection = DGAReportCollection::open(options, tools_);
    if (!collection) {
        const char* const fault = "the folder of reports cannot be used";
        DGAReportResults::sharedResults().tell({"", DGAReportState::kFailed, fault});
        return {.archive = "", .fault = fault};
    }
    collection->complete(options);
    Outcome outcome{
        .archive = "", .fault = collection->pack(options), .lacksPicture = collection->lacksPicture(options)};
    const auto archive = outcome.fault.empty() ? collection->publish() : std::nullopt;
    if (outcome.fault.empty() && !archive)
        outcome.fault = "the archive cannot be put into its place";
    outcome.archive = archive.value_or("");
    DGAReportResult result{collection->number(), DGAReportState::kMade};
    if (!outcome.fault.empty())
        result = {result.number, DGAReportState::kFailed, outcome.fault};
    DGAReportResults::sharedResults().tell(std::move(result));
    return outcome;
}

void DGAReportGenerator::tellDelegate(const Outcome& outcome) const {
    platform::performOnMain([weak = delegate_, outcome] {
        const auto delegate = weak.lock();
        if (!delegate)
            return;
        if (outcome.lacksPicture)
            delegate->reportHasNoPicture();
        if (outcome.fault.empty())
            delegate->reportFileGeneratedAt(outcome.archive);
        else
            delegate->reportFailed(outcome.fault);
    });
}
