#include <cstdlib>
#include <string>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/DGAApplicationWindows.h"
#include "DGAMonitor/DGAMonitorToolManager.h"
#include "DGAMonitor/DGATelemetryManager.h"
#include "DGAMonitor/Utilities/DGAUtilities.h"
#include "platform/MessagePort.h"
#include "platform/PrivateFolder.h"
#include "platform/RunLoop.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

namespace {

constexpr int kFloatingWindowLevel = 3;
constexpr int kNormalWindowLevel = 0;

}  // namespace

void DGAUtilities::dga_judgeIfNeedQuit() {
    ORVN_LOG_METHOD();
    const DGAMonitorToolManager& record = DGAMonitorToolManager::shareManager();
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
    dga_removeFileAtPath(std::string(kDGATempStorePath) + "/" + kDGASPXFileName);
    dga_removeExcessiveLogZip();
}

void DGAUtilities::dga_quit() {
    ORVN_LOG_METHOD();
    dga_prepareToQuit();
    DGATelemetryManager::closeOrvTelemetry();
    const auto name = ORVN_METHOD_NAME;
    // The process ends on the trace's own queue: a record that is still waiting there would otherwise make
    // the folder anew.
    DGACSVFileTool::traceQueue().sync([name] {
        DGACSVFileTool::shareFileTool().removeFile();
        logInfo("Finally {}", name);
        if (DGAMonitorToolManager::shareManager().isUT)
            return;
        platform::MessagePort::removeSockets();
        std::quick_exit(EXIT_SUCCESS);
    });
}

void DGAUtilities::dga_bringingAllWindowFront() {
    ORVN_LOG_METHOD();
    platform::performOnMain([] { DGAApplicationWindows::sharedWindows().bringAllVisibleToFront(); });
}

int DGAUtilities::dga_fetchWindowLevel() {
    return DGAMonitorToolManager::shareManager().serviceType == kDGAServiceTypeHV ? kFloatingWindowLevel
                                                                                  : kNormalWindowLevel;
}

void DGAUtilities::dga_removeFileAtPath(const std::string& path) {
    ORVN_LOG_METHOD();
    const std::string store = std::string(kDGATempStorePath) + "/";
    if (path.compare(0, store.size(), store) != 0) {
        platform::removeAtPath(path);
        return;
    }
    const size_t slash = path.rfind('/');
    const auto folder =
        platform::PrivateFolder::open(path.substr(0, slash), platform::PrivateFolder::Create::no);
    if (folder)
        folder->remove(path.substr(slash + 1));
}
