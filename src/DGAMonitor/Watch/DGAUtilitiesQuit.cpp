#include "DGAMonitor/Watch/DGAUtilitiesQuit.h"

#include <cstdlib>
#include <string>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Report/DGAKeptReports.h"
#include "DGAMonitor/Report/DGAReportGenerator.h"
#include "DGAMonitor/Report/DGAUtilitiesRetention.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGATelemetryManager.h"
#include "DGAMonitor/Utilities/DGAUtilitiesFiles.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "platform/MessagePort.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

void DGAUtilities::dga_judgeIfNeedQuit() {
    ORVN_LOG_METHOD();
    const DGASessionRecord& record = DGASessionRecord::sharedRecord();
    if (!record.readyToQuit)
        return;
    const bool noVisibleWindow = !DGAApplicationWindows::sharedWindows().anyVisible();
    // Read again: the user may have chosen to wait meanwhile.
    const bool readyToQuit = record.readyToQuit;
    logInfo("{} noVisibleWindow = {:d},readyToQuit = {:d}", ORVN_METHOD_NAME, noVisibleWindow, readyToQuit);
    if (noVisibleWindow && readyToQuit && !record.isUT)
        dga_quit();
}

void DGAUtilities::dga_prepareToQuit() {
    ORVN_LOG_METHOD();
    DGAReportGenerator::endAllRuns();
    dga_removeFileAtPath(dgaStorePath() + "/" + kDGASPXFileName);
    dga_removeExcessiveLogZip();
}

void DGAUtilities::dga_quit() {
    ORVN_LOG_METHOD();
    dga_prepareToQuit();
    DGATelemetryManager::closeOrvTelemetry();
    DGAKeptReports::queue().sync([] {});
    const auto name = ORVN_METHOD_NAME;
    // The process ends on the trace's own queue: a record that is still waiting there would otherwise make
    // the folder anew.
    DGACSVFileTool::traceQueue().sync([name] {
        // What could not be packed is all that is left of the run.
        if (DGAReportGenerator::lastRunFailed())
            logWarning("the run's folder stays: {}", DGACSVFileTool::shareFileTool().dirFilePath());
        else
            DGACSVFileTool::shareFileTool().removeFile();
        logInfo("Finally {}", name);
        if (DGASessionRecord::sharedRecord().isUT)
            return;
        platform::MessagePort::removeSockets();
        std::quick_exit(EXIT_SUCCESS);
    });
}
