#include "DGAMonitor/DGACoreWindowServices.h"

#include <map>
#include <mutex>
#include <utility>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Report/DGAKeptReports.h"
#include "DGAMonitor/Report/DGAReportGenerator.h"
#include "DGAMonitor/Session/DGAReportResults.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGASessionTelemetry.h"
#include "DGAMonitor/Windows/DGAWindowProcess.h"
#include "platform/RunLoop.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

namespace {

void tellClient(const DGAUploadState& state) {
    for (const char* const told : {DGAReportState::kSent, DGAReportState::kFailed, DGAReportState::kSaved,
                                   DGAReportState::kMailed, DGAReportState::kCancelled}) {
        if (state.state == told)
            DGAReportResults::sharedResults().tell(
                {DGAKeptReports::numberOf(state.path), told, state.reason});
    }
}

}  // namespace

// Listings by their numbers; makers look there on threads of their own.
struct DGACoreWindowServices::Listings {
    struct Listing {
        DGAReportOptions options;
        std::function<void(const DGAReportContents&)> told;
        std::shared_ptr<DGAReportCollection> files;
    };
    std::mutex mutex;
    std::map<int64_t, Listing> listings;

    std::shared_ptr<DGAReportCollection> filesOf(int64_t number) {
        const std::lock_guard<std::mutex> hold(mutex);
        const auto found = listings.find(number);
        return found == listings.end() ? nullptr : found->second.files;
    }
    // Nothing if it was dropped meanwhile.
    void keep(int64_t number, const std::shared_ptr<DGAReportCollection>& files) {
        const std::lock_guard<std::mutex> hold(mutex);
        if (const auto found = listings.find(number); found != listings.end())
            found->second.files = files;
    }
    void tell(int64_t number, const std::shared_ptr<DGAReportCollection>& files) {
        Listing listing;
        {
            const std::lock_guard<std::mutex> hold(mutex);
            if (const auto found = listings.find(number); found != listings.end())
                listing = found->second;
        }
        if (!listing.told)
            return;
        auto contents = files ? files->contents(listing.options) : DGAReportContents();
        contents.isComplete = contents.isComplete || !files;
        platform::performOnMain([told = std::move(listing.told), contents] { told(contents); });
    }
};

DGACoreWindowServices::DGACoreWindowServices(const DGAReportCollection::Tools& tools)
    : tools_(DGAReportCollection::realTools(tools)), listings_(std::make_shared<Listings>()) {
    // Their files have these tools, too.
    tools_.listed = [weak = std::weak_ptr(listings_)](int64_t listing) {
        const auto listings = weak.lock();
        return listings ? listings->filesOf(listing) : nullptr;
    };
}

DGACoreWindowServices::DGACoreWindowServices(std::weak_ptr<DGAWindowProcess> process)
    : DGACoreWindowServices(DGAReportCollection::Tools()) {
    const auto hide = [process = std::move(process)](bool hidden) {
        if (const auto held = process.lock())
            held->setHidden(hidden);
    };
    tools_.hideWindows = [hide] { hide(true); };
    tools_.showWindows = [hide] { hide(false); };
}

std::shared_ptr<DGAReportMaker> DGACoreWindowServices::makeReportMaker() {
    return std::make_shared<DGAReportGenerator>(tools_);
}

void DGACoreWindowServices::saveTraceRecord(const DGATraceRecord& record) {
    DGACSVFileTool::saveTraceRecord(record);
}

void DGACoreWindowServices::sendTelemetryAction(DGATelemetryAction action) {
    dgaSendTelemetryAction(DGASessionRecord::sharedRecord(), action);
}

// Cancelled is kept, too: who cancels may have lost patience with the network only.
void DGACoreWindowServices::uploadChanged(const DGAUploadState& state) {
    logInfo("the report {}: {}{}{}", state.path, state.state, state.reason.empty() ? "" : ", ", state.reason);
    DGASessionRecord::sharedRecord().events.add(
        DGASessionEventKind::upload, state.state + (state.reason.empty() ? "" : ": " + state.reason));
    if (state.comment == draft_.description)
        draft_ = {};
    if (state.state == "sending")
        return;
    tellClient(state);
    const bool isOver = state.state == DGAReportState::kSent || state.state == DGAReportState::kSaved ||
                        state.state == DGAReportState::kMailed;
    DGAKeptReports::queue().async([state, isOver,
                                   serviceType = DGASessionRecord::sharedRecord().serviceType.load()] {
        const DGAKeptReports kept;
        if (isOver)
            kept.remove(DGAKeptReports::numberOf(state.path));
        else
            kept.keep(state.path, {.number = {},
                                   .description = state.comment,
                                   .category = state.category,
                                   .serviceType = serviceType,
                                   .time = {},
                                   .state = state.state + (state.reason.empty() ? "" : ": " + state.reason)});
    });
}

void DGACoreWindowServices::listContents(int64_t listing, const DGAReportOptions& options,
                                         std::function<void(const DGAReportContents&)> told) {
    {
        const std::lock_guard<std::mutex> hold(listings_->mutex);
        auto& entry = listings_->listings[listing];
        entry.options = options;
        entry.told = std::move(told);
    }
    platform::BackgroundQueue::global().async([listings = listings_, listing, options, tools = tools_] {
        auto files = listings->filesOf(listing);
        if (!files || files->isUsedUp()) {
            files = DGAReportCollection::open(options, tools);
            listings->keep(listing, files);
        }
        listings->tell(listing, files);
        if (!files)
            return;
        files->complete(options);
        listings->tell(listing, files);
    });
}

void DGACoreWindowServices::retakePicture(int64_t listing) {
    platform::BackgroundQueue::global().async([listings = listings_, listing] {
        if (const auto files = listings->filesOf(listing)) {
            files->retakePicture();
            listings->tell(listing, files);
        }
    });
}

void DGACoreWindowServices::dropContents(int64_t listing) {
    const std::lock_guard<std::mutex> hold(listings_->mutex);
    listings_->listings.erase(listing);
}

void DGACoreWindowServices::keptReports(std::function<void(const std::vector<DGAKeptReport>&)> told) {
    DGAKeptReports::queue().async([told = std::move(told)] {
        std::vector<DGAKeptReport> kept;
        for (const auto& report : DGAKeptReports().reports())
            kept.push_back({report.number, report.description, report.category, report.time});
        platform::performOnMain([told, kept] { told(kept); });
    });
}

void DGACoreWindowServices::discardKeptReport(const std::string& number) {
    DGAKeptReports::queue().async([number] { DGAKeptReports().discard(number); });
}
