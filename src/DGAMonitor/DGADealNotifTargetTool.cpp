#include "DGAMonitor/DGADealNotifTargetTool.h"

#include "DGAMeetingData/DGACSVFileTool.h"
#include "platform/DistributedNotificationCenter.h"
#include "support/ORVNLogger.h"

namespace {

constexpr int kClientQuitModule = 40;

}  // namespace

DGADealNotifTargetTool::DGADealNotifTargetTool() = default;
DGADealNotifTargetTool::~DGADealNotifTargetTool() = default;

void DGADealNotifTargetTool::dealHeartBeatFromClient(const platform::Notification& /*notification*/) {
    ORVN_LOG_METHOD();
}

void DGADealNotifTargetTool::dealGenerateReportFromClient(const platform::Notification& /*notification*/) {
    ORVN_LOG_METHOD();
}

void DGADealNotifTargetTool::showReportWindow() {
    ORVN_LOG_METHOD();
    dealGenerateReportFromClient({});
}

void DGADealNotifTargetTool::dealNormalQuitFromClient(const platform::Notification& /*notification*/) {
    if (quitSeen_)
        return;
    quitSeen_ = true;
    ORVN_LOG_METHOD();
    DGACSVFileTool::saveDGATraceWithModuleType(kClientQuitModule, 1, 1, "client quit", 0.0F, std::nullopt, 0,
                                               std::nullopt, 0, std::nullopt, 0);
}
