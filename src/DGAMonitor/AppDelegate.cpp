#include "DGAMonitor/AppDelegate.h"

#include <cstdlib>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMeetingData/DGAMeetingDataRecordTool.h"
#include "DGAMonitor/DGAApplicationWindows.h"
#include "DGAMonitor/DGAMonitorToolManager.h"
#include "DGAMonitor/DGATelemetryManager.h"
#include "DGAMonitor/DGAWindowModuleEntry.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

void AppDelegate::applicationDidFinishLaunching() {
    ORVNLogger::sharedLogger().initParams(
        {.subPath = "dga", .fileNamePrefix = "orvtra_dga_", .maxFileNum = 30});
    ORVN_LOG_METHOD();
    DGAApplicationWindows::sharedWindows().setModuleName(kDGAWindowModuleName);
    DGAMonitorToolManager::shareManager().startMonitoring();
}

void AppDelegate::applicationWillTerminate() {
    ORVN_LOG_METHOD();
    DGAMeetingDataRecordTool::shareDataRecordTool().stopRecord();
    DGATelemetryManager::closeOrvTelemetry();
    DGACSVFileTool::traceQueue().sync([] {});
    std::quick_exit(EXIT_SUCCESS);
}
