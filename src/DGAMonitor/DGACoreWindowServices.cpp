#include "DGAMonitor/DGACoreWindowServices.h"

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Report/DGAKeptReports.h"
#include "DGAMonitor/Report/DGAReportGenerator.h"
#include "DGAMonitor/Session/DGAReportResults.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGASessionTelemetry.h"
#include "DGAMonitor/Windows/DGAWindowProcess.h"
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

std::shared_ptr<DGAReportMaker> DGACoreWindowServices::makeReportMaker() {
    const auto hide = [process = process_](bool hidden) {
        if (const auto held = process.lock())
            held->setHidden(hidden);
    };
    DGAReportGenerator::Tools tools;
    tools.hideWindows = [hide] { hide(true); };
    tools.showWindows = [hide] { hide(false); };
    return std::make_shared<DGAReportGenerator>(std::move(tools));
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
    const bool isOver = state.state == "sent" || state.state == "saved";
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
