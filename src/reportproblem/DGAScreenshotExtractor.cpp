#include "reportproblem/DGAScreenshotExtractor.h"

#include <vector>

#include "DGAMonitor/Utilities/Tool/DGATaskTool.h"

void DGAScreenshotExtractor::generateScreenshot(const std::string& path) const {
    DGATaskTool::dga_runTaskWithCMD("/usr/sbin/screencapture", std::vector<std::string>{"-x", path}, nullptr);
}
