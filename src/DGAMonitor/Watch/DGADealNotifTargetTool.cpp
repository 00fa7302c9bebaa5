#include "DGAMonitor/Watch/DGADealNotifTargetTool.h"

#include <chrono>
#include <utility>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Const/DGADicKeyStrings.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAMonitor/Windows/DGAUtilitiesWindows.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/RunLoop.h"
#include "support/ORVNLogger.h"

DGADealNotifTargetTool::DGADealNotifTargetTool(DGAHeartBeatCheckTool::Parts watch,
                                               std::shared_ptr<DGAReportGenerator> generator)
    : checkTool_(std::move(watch)),
      reportGenerator_(generator ? std::move(generator) : std::make_shared<DGAReportGenerator>()),
      self_(this, [](DGADealNotifTargetTool*) {}) {
    reportGenerator_->setDelegate(self_);
}

DGADealNotifTargetTool::~DGADealNotifTargetTool() = default;

void DGADealNotifTargetTool::dealHeartBeatFromClient(const platform::Notification& /*notification*/) {
    ORVN_LOG_METHOD();
    checkTool_.reloadCheck();
}

void DGADealNotifTargetTool::dealGenerateReportFromClient(const platform::Notification& notification) {
    ORVN_LOG_METHOD();
    auto& windows = DGAApplicationWindows::sharedWindows();
    const auto token = notification.userInfo.find(dActivationTokenKey);
    if (token != notification.userInfo.end())
        windows.setActivationToken(token->second);
    checkTool_.judgeIfShowReportWindow();
    windows.setActivationToken({});
}

void DGADealNotifTargetTool::showReportWindow(const platform::Notification& notification) {
    ORVN_LOG_METHOD();
    dealGenerateReportFromClient(notification);
}

void DGADealNotifTargetTool::dealNormalQuitFromClient(const platform::Notification& /*notification*/) {
    if (quitSeen_)
        return;
    quitSeen_ = true;
    DGASessionRecord& record = DGASessionRecord::sharedRecord();
    record.clientHasQuit = true;
    record.events.add(DGASessionEventKind::goodbye);
    ORVN_LOG_METHOD();
    checkTool_.clientSaidGoodbye();
    DGACSVFileTool::saveTraceRecord({.moduleType = DGATraceModule::clientQuit, .basicInfo = "client quit"});
    // Behind a window that has been asked for meanwhile and is still coming up.
    reportGenerator_->startOnceGenerateReportIfScreenShot(
        {.systemInfo = true, .serviceType = record.serviceType}, [&record] {
            platform::performOnMain([&record] {
                record.endReported = true;
                record.readyToQuit = true;
            });
        });
    platform::performOnMainAfter(std::chrono::milliseconds(500),
                                 [] { DGAUtilities::dga_bringingAllWindowFront(); });
}

void DGADealNotifTargetTool::clientIsKnown() {
    checkTool_.pinClient();
}

void DGADealNotifTargetTool::reportFileGeneratedAt(const std::string& /*path*/) {
    ORVN_LOG_METHOD();
    DGASessionRecord::sharedRecord().readyToQuit = true;
}
