#include "DGAMonitor/DGAMonitorToolManager.h"

#include <unistd.h>

#include <cstdio>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMeetingData/DGAMeetingDataRecordTool.h"
#include "DGAMeetingData/DGASystemResourceCheckingManager.h"
#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Const/DGADicKeyStrings.h"
#include "DGAMonitor/DGADealNotifTargetTool.h"
#include "DGAMonitor/DGASessionParameters.h"
#include "DGAMonitor/DGATelemetryManager.h"
#include "DGAMonitor/Utilities/DGAUtilities.h"
#include "platform/DistributedNotificationCenter.h"
#include "support/JsonValue.h"
#include "support/ORVNLogger.h"

namespace {

constexpr int kParameterModule = 39;

void saveParameter(const char* name, std::optional<std::string> value, float dwID = 0.0F) {
    DGACSVFileTool::saveDGATraceWithModuleType(kParameterModule, 1, 1, name, dwID, std::move(value), 0,
                                               std::nullopt, 0, std::nullopt, 0);
}

// The two parameters that may hold anything the user typed travel as base64, marked by their id.
void saveEncodedParameter(const char* name, const std::optional<std::string>& value) {
    saveParameter(name, DGAUtilities::dga_stringToBase64Str(value), 1.0F);
}

void logWithoutPersonalData(nlohmann::json parameters) {
    for (const char* key : {dDGAUserEmailKey, dDGAMeetingKeyKey, dDGAConfNameKey})
        parameters.erase(key);
    logInfo("dealMessageFromClient，jsonStr={}", support::prettyJson(parameters));
}

}  // namespace

DGAMonitorToolManager& DGAMonitorToolManager::shareManager() {
    static DGAMonitorToolManager* const manager = new DGAMonitorToolManager();
    return *manager;
}

DGAMonitorToolManager::DGAMonitorToolManager() {
    dga_pID.set(std::to_string(getpid()));
}

void DGAMonitorToolManager::startMonitoring() {
    ORVN_LOG_METHOD();
    if (!targetTool_)
        targetTool_ = std::make_shared<DGADealNotifTargetTool>();
    addProcessObserver();
    startReceiveMeetingData();
    startCheckingSystemResourceUsage();
}

std::string DGAMonitorToolManager::notificationName(std::string_view baseName) const {
    return fmt::format("{}_{}", baseName, support::orNull(dga_pID.get()));
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
                      &DGADealNotifTargetTool::dealHeartBeatFromClient);
    addObserverByName(notificationName(kDGANotificationGenerateReport),
                      &DGADealNotifTargetTool::dealGenerateReportFromClient);
    addObserverByName(notificationName(kDGANotificationAppExit),
                      &DGADealNotifTargetTool::dealNormalQuitFromClient);
    const std::string ready = notificationName(kDGANotificationAppReady);
    logInfo("addProcessObserver, notify client DGA app ready, send: {}", ready);
    DGAUtilities::dga_postDistributedNotificationWithName(ready, std::nullopt, {}, true);
}

void DGAMonitorToolManager::observe(std::string_view baseName, ManagerAction action) {
    platform::DistributedNotificationCenter::defaultCenter().addObserver(
        notificationName(baseName),
        [this, action](const platform::Notification& notification) { (this->*action)(notification); });
}

void DGAMonitorToolManager::addObserverByName(const std::string& name, TargetAction action) {
    ORVN_LOG_METHOD();
    platform::DistributedNotificationCenter::defaultCenter().addObserver(
        name, [target = targetTool_, action](const platform::Notification& notification) {
            ((*target).*action)(notification);
        });
}

void DGAMonitorToolManager::dealNormalStart(const platform::Notification& notification) {
    ORVN_LOG_METHOD();
    dealMessageFromClient(notification);
}

void DGAMonitorToolManager::dealStartAndQuit(const platform::Notification& notification) {
    ORVN_LOG_METHOD();
    dealMessageFromClient(notification);
    targetTool_->showReportWindow();
    readyToQuit = true;
}

void DGAMonitorToolManager::dealMessageFromClient(const platform::Notification& notification) {
    ORVN_LOG_METHOD();
    const auto text = notification.userInfo.find(dDGAJsonDataKey);
    if (text == notification.userInfo.end())
        return;
    const auto parameters = support::parseJson(text->second);
    if (!parameters || !parameters->is_object())
        return;
    readSessionParameters(*parameters, *this);
    logWithoutPersonalData(*parameters);
    setupTelemetry();
    saveMeetingData();
}

void DGAMonitorToolManager::saveMeetingData() {
    ORVN_LOG_METHOD();
    const DGAMonitorToolManager& record = shareManager();
    saveParameter("platform", "Mac");
    saveParameter("service", record.serviceType == kDGAServiceTypeHV ? "HV" : "KT");
    saveParameter("confid", record.confID.get());
    saveEncodedParameter("confname", record.confName.get());
    saveParameter("userid", record.userID.get());
    saveEncodedParameter("username", record.userName.get());
    saveParameter("siteurl", record.siteURL.get());
    saveParameter("trackingid", record.telemetrySessionID.get());
    saveParameter("clientversion", record.clientVersion.get());
    saveParameter("targetpid", record.pID.get());
    saveParameter("dgapid", record.dga_pID.get());
}

void DGAMonitorToolManager::setupTelemetry() {
    ORVN_LOG_METHOD();
    const auto metricsURL = telemetryMetricsURL.get();
    if (telemetryMrg || !metricsURL || metricsURL->empty())
        return;
    telemetryMrg = std::make_shared<DGATelemetryManager>();
    telemetryMrg->telemetryEnable = telemetryEnable;
    telemetryMrg->telemetrySessionID = telemetrySessionID.get();
    telemetryMrg->telemetryMetricsURL = metricsURL;
    telemetryMrg->telemetryHttpHeaders = telemetryHttpHeaders.get();
    telemetryMrg->enableAccompnyDGA = enableAccompnyDGA;
    const auto& headers = telemetryMrg->telemetryHttpHeaders;
    logInfo("{},_telemetryHttpHeaders:{},_telemetryMetricsURL:{}", ORVN_METHOD_NAME,
            support::orNull(headers ? support::jsonAsSent(*headers) : std::nullopt), *metricsURL);
    telemetryMrg->startTelemetry();
}

void DGAMonitorToolManager::sendTelemetryActionByID(int actionID) const {
    if (telemetryMrg)
        telemetryMrg->sendTelemetryActionByID(actionID);
}

void DGAMonitorToolManager::startReceiveMeetingData() {
    ORVN_LOG_METHOD();
    DGAMeetingDataRecordTool::shareDataRecordTool().startRecord();
}

void DGAMonitorToolManager::startCheckingSystemResourceUsage() {
    ORVN_LOG_METHOD();
    DGASystemResourceCheckingManager::shareCheckingManager().startChecking();
}
