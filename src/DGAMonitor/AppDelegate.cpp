#include "DGAMonitor/AppDelegate.h"

#include "DGAMonitor/DGAMonitorToolManager.h"
#include "support/ORVNLogger.h"

void AppDelegate::applicationDidFinishLaunching() {
    ORVNLogger::sharedLogger().initParams(
        {.subPath = "dga", .fileNamePrefix = "orvtra_dga_", .maxFileNum = 30});
    ORVN_LOG_METHOD();
    DGAMonitorToolManager::shareManager().startMonitoring();
}
