#include "DGAMonitor/AppDelegate.h"

#include <cstdlib>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMeetingData/DGAMeetingDataRecordTool.h"
#include "DGAMonitor/DGACoreWindowServices.h"
#include "DGAMonitor/DGAMonitorToolManager.h"
#include "DGAMonitor/Report/DGAKeptReports.h"
#include "DGAMonitor/Report/DGAReportGenerator.h"
#include "DGAMonitor/Session/DGATelemetryManager.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAMonitor/Windows/DGAWindowProcess.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"
#include "support/OrvTelemetry.h"

namespace {

void writeWhatIsQueued() {
    DGAMeetingDataRecordTool::shareDataRecordTool().stopRecord();
    DGATelemetryManager::closeOrvTelemetry();
    DGAKeptReports::queue().sync([] {});
    DGACSVFileTool::traceQueue().sync([] {});
}

}  // namespace

void AppDelegate::applicationDidFinishLaunching() {
    ORVNLogger::sharedLogger().initParams(
        {.subPath = "dga", .fileNamePrefix = "orvtra_dga_", .maxFileNum = 30});
    ORVN_LOG_METHOD();
    auto& windows = DGAApplicationWindows::sharedWindows();
    const auto process = std::make_shared<DGAWindowProcess>();
    windows.setServices(std::make_shared<DGACoreWindowServices>(process));
    windows.installFactory(process);
    SetTelemetrySender([process](const OrvTelemetryRequest& request, OrvTelemetryAnswer& answer) {
        process->post(request, answer);
    });
    // The report window opens it, over there; here it is raised.
    windows.uploadWindowCtrl = windows.makeUploadWindow();
    DGAMonitorToolManager::shareManager().startMonitoring();
}

void AppDelegate::applicationWillTerminate() {
    ORVN_LOG_METHOD();
    DGAReportGenerator::endAllRuns();
    writeWhatIsQueued();
    std::quick_exit(EXIT_SUCCESS);
}

void AppDelegate::applicationWasEnded() {
    logWarning("the display or something else ends the program");
    writeWhatIsQueued();
    std::_Exit(EXIT_FAILURE);
}
