#include "DGAMonitor/DGASystemProfileExtractor.h"

#include <vector>

#include "DGAMonitor/Utilities/Tool/DGATaskTool.h"
#include "support/ORVNLogger.h"

void DGASystemProfileExtractor::generateSystemProfiler(const std::string& path,
                                                       const std::string& detailLevel) {
    ORVN_LOG_METHOD();
    DGATaskTool::dga_runTaskWithCMD(
        "/bin/sh",
        std::vector<std::string>{"-c", "exec /usr/sbin/system_profiler -xml -detailLevel \"$1\" >\"$2\"",
                                 "sh", detailLevel, path},
        nullptr);
}
