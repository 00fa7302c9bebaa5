#include "DGAMonitor/DGAMonitorToolManager.h"

#include <cstdio>
#include <utility>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMeetingData/DGAMeetingDataRecordTool.h"
#include "DGAMeetingData/DGASessionTrace.h"
#include "DGAMeetingData/DGASystemResourceCheckingManager.h"
#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Const/DGADicKeyStrings.h"
#include "DGAMonitor/DGAKeptReportNotice.h"
#include "DGAMonitor/Session/DGAReportResults.h"
#include "DGAMonitor/Session/DGASessionParameters.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGASessionTelemetry.h"
#include "DGAMonitor/Utilities/DGAUtilitiesProgram.h"
#include "DGAMonitor/Watch/DGADealNotifTargetTool.h"
#include "support/JsonValue.h"
#include "support/ORVNLogger.h"
#include "support/PlainText.h"

DGAMonitorToolManager& DGAMonitorToolManager::shareManager() {
    static DGAMonitorToolManager* const manager = new DGAMonitorToolManager();
    return *manager;
}

DGAMonitorToolManager::DGAMonitorToolManager() : record_(DGASessionRecord::sharedRecord()) {}

DGAMonitorToolManager::~DGAMonitorToolManager() = default;

void DGAMonitorToolManager::startMonitoring() {
    ORVN_LOG_METHOD();
    if (!targetTool_) {
        DGAHeartBeatCheckTool::Parts watch;
        watch.canHear = [this] {
            return portHeard_ || platform::DistributedNotificationCenter::defaultCenter().isConnected();
        };
        targetTool_ = std::make_shared<DGADealNotifTargetTool>(std::move(watch));
    }
    keptNotice_ = std::make_unique<DGAKeptReportNotice>([this](const std::string& number) {
        record_.keptReport.set(number);
        targetTool_->showReportWindow({});
        record_.keptReport.set(std::nullopt);
    });
    addProcessObserver();
    startReceiveMeetingData();
    startCheckingSystemResourceUsage();
}

std::string DGAMonitorToolManager::notificationName(std::string_view baseName) const {
    return fmt::format("{}_{}", baseName, support::orNull(record_.dga_pID.get()));
}

void DGAMonitorToolManager::addProcessObserver() {
    ORVN_LOG_METHOD();
    // The log has the reason; whoever started the program by hand looks here.
    if (!platform::DistributedNotificationCenter::defaultCenter().isConnected())
        std::fputs("orvanedga: no session bus: notifications cannot arrive, only the message port works\n",
                   stderr);
    observe(kDGANotificationPassingJsonData, &DGAMonitorToolManager::dealNormalStart);
    observe(kDGANotificationGenerateReportAndExit, &DGAMonitorToolManager::dealStartAndQuit);
    addObserverByName(notificationName(kDGANotificationKeepAlive),
                      &DGADealNotifTargetTool::dealHeartBeatFromClient, Delivery::overtaking);
    addObserverByName(notificationName(kDGANotificationGenerateReport),
                      &DGADealNotifTargetTool::dealGenerateReportFromClient, Delivery::inOrder);
    addObserverByName(notificationName(kDGANotificationAppExit),
                      &DGADealNotifTargetTool::dealNormalQuitFromClient, Delivery::overtaking);
    const std::string ready = notificationName(kDGANotificationAppReady);
    logInfo("addProcessObserver, notify client DGA app ready, send: {}", ready);
    DGAUtilities::dga_postDistributedNotificationWithName(
        ready, std::nullopt, {{dVersionKey, DGAUtilities::dga_fetchAppVersion()}}, true,
        {{dProtocolKey, kDGAProtocol}});
    DGAReportResults::sharedResults().setListener(
        [this](const DGAReportResult& result) { tellReportResult(result); });
}

void DGAMonitorToolManager::tellReportResult(const DGAReportResult& result) const {
    logInfo("DGAMonitorToolManager::tellReportResult,{} {} {}", result.number, result.state, result.reason);
    std::map<std::string, std::string> info{{dReportNumberKey, result.number},
                                            {dReportStateKey, result.state}};
    if (!result.reason.empty())
        info[dReportReasonKey] = support::onOneLine(result.reason);
    DGAUtilities::dga_postDistributedNotificationWithName(notificationName(kDGANotificationReportResult),
                                                          std::nullopt, info, false);
    DGAMeetingDataRecordTool::shareDataRecordTool().tellReportResult(support::prettyJson(info));
}

void DGAMonitorToolManager::observe(std::string_view baseName, ManagerAction action) {
    addHandler(notificationName(baseName),
               [this, action](const platform::Notification& notification) { (this->*action)(notification); });
}

void DGAMonitorToolManager::addObserverByName(const std::string& name, TargetAction action,
                                              Delivery delivery) {
    ORVN_LOG_METHOD();
    // The first one only: heartbeats need no parameters.
    const bool needsParameters = action != &DGADealNotifTargetTool::dealHeartBeatFromClient;
    addHandler(
        name,
        [this, action, needsParameters](const platform::Notification& notification) {
            if (needsParameters)
                dealWaitingParameters();
            ((*targetTool_).*action)(notification);
        },
        delivery);
}

void DGAMonitorToolManager::dealWaitingParameters() {
    platform::DistributedNotificationCenter::defaultCenter().deliverLatest(
        notificationName(kDGANotificationPassingJsonData));
    if (const auto latest = std::exchange(waiting_, std::nullopt))
        readMessage(*latest);
}

void DGAMonitorToolManager::addHandler(const std::string& name,
                                       std::function<void(const platform::Notification&)> handler,
                                       Delivery delivery) {
    platform::DistributedNotificationCenter::defaultCenter().addObserver(name, handler, delivery);
    handlers_[name] = std::move(handler);
}

void DGAMonitorToolManager::handlePortNotification(std::string_view baseName,
                                                   const std::optional<std::string>& text) {
    portHeard_ = true;
    platform::Notification notification{.name = notificationName(baseName), .object = {}, .userInfo = {}};
    if (text && baseName == kDGANotificationGenerateReport) {
        const auto members = support::parseJson(*text);
        if (members && members->is_object() && members->contains(dActivationTokenKey) &&
            members->at(dActivationTokenKey).is_string())
            notification.userInfo[dActivationTokenKey] = members->at(dActivationTokenKey);
    } else if (text) {
        notification.userInfo[dDGAJsonDataKey] = *text;
    }
    if (const auto handler = handlers_.find(notification.name); handler != handlers_.end())
        handler->second(notification);
}

void DGAMonitorToolManager::dealNormalStart(const platform::Notification& notification) {
    ORVN_LOG_METHOD();
    dealMessageFromClient(notification);
}

void DGAMonitorToolManager::dealStartAndQuit(const platform::Notification& notification) {
    ORVN_LOG_METHOD();
    dealMessageFromClient(notification);
    dealWaitingParameters();
    targetTool_->showReportWindow(notification);
    record_.readyToQuit = true;
}

// Records that come faster than they are written would pile up: only the last message counts then.
void DGAMonitorToolManager::dealMessageFromClient(const platform::Notification& notification) {
    if (DGACSVFileTool::hasRoom() && !waiting_) {
        readMessage(notification);
        return;
    }
    const uint64_t passedOver = waiting_ ? waiting_->passedOver + 1 : 0;
    if (!std::exchange(awaitsRoom_, true)) {
        DGACSVFileTool::whenRoom([this] {
            awaitsRoom_ = false;
            if (const auto latest = std::exchange(waiting_, std::nullopt))
                readMessage(*latest);
        });
    }
    waiting_ = notification;
    waiting_->passedOver += passedOver;
}

void DGAMonitorToolManager::readMessage(const platform::Notification& notification) {
    logInfo("DGAMonitorToolManager::dealMessageFromClient");
    if (notification.passedOver > 0)
        logNotice("{} parameter messages came too fast and were passed over", notification.passedOver);
    const auto text = notification.userInfo.find(dDGAJsonDataKey);
    if (text == notification.userInfo.end())
        return;
    const auto parameters = support::parseJson(text->second);
    if (!parameters || !parameters->is_object())
        return;
    readSessionParameters(*parameters, record_);
    if (targetTool_)
        targetTool_->clientIsKnown();
    logInfo("dealMessageFromClient，jsonStr={}", support::prettyJson(sessionParametersForLog(*parameters)));
    setupTelemetry();
    dgaSaveSessionTrace(record_);
    if (keptNotice_)
        keptNotice_->offer();
}

void DGAMonitorToolManager::setupTelemetry() {
    ORVN_LOG_METHOD();
    dgaSetupTelemetry(record_);
}

void DGAMonitorToolManager::startReceiveMeetingData() {
    ORVN_LOG_METHOD();
    auto& tool = DGAMeetingDataRecordTool::shareDataRecordTool();
    tool.setNotificationHandler([this](std::string_view baseName, const std::optional<std::string>& text) {
        handlePortNotification(baseName, text);
    });
    tool.startRecord(support::prettyJson(
        {{dProtocolKey, kDGAProtocol}, {dVersionKey, DGAUtilities::dga_fetchAppVersion()}}));
}

void DGAMonitorToolManager::startCheckingSystemResourceUsage() {
    ORVN_LOG_METHOD();
    DGASystemResourceCheckingManager::shareCheckingManager().startChecking();
}
