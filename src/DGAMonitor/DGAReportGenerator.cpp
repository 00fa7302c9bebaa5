#include "DGAMonitor/DGAReportGenerator.h"

#include <atomic>
#include <utility>

#include "DGAMonitor/Const/DGAConst.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

bool DGAReportGenerator::hasReports(int64_t serviceType) {
    return serviceType == kDGAServiceTypeHV || serviceType == kDGAServiceTypeKT;
}

void DGAReportGenerator::startGenerateReportIfScreenShot(bool screenShot, bool ifSystemInfo, bool ifCrashLog,
                                                         int64_t serviceType,
                                                         std::function<void()> completion) {
    ORVN_LOG_METHOD();
    request_ = {screenShot, ifSystemInfo, ifCrashLog, serviceType};
    if (!hasReports(serviceType))
        return;
    platform::BackgroundQueue::global().async([request = request_, completion = std::move(completion)] {
        ORVNLogger::sharedLogger().log(kORVNLogModule, 8,
                                       "this build assembles no report: screenshot {:d}, system information "
                                       "{:d}, crash logs {:d}, service type {}",
                                       request.screenShot, request.systemInfo, request.crashLog,
                                       request.serviceType);
        if (completion)
            completion();
    });
}

void DGAReportGenerator::startOnceGenerateReportIfScreenShot(bool screenShot, bool ifSystemInfo,
                                                             bool ifCrashLog, int64_t serviceType,
                                                             std::function<void()> completion) {
    static std::atomic<bool> started{false};
    if (!started.exchange(true))
        startGenerateReportIfScreenShot(screenShot, ifSystemInfo, ifCrashLog, serviceType,
                                        std::move(completion));
}
