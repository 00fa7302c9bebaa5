#include "DGAMonitor/Session/DGASessionTelemetry.h"

#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGATelemetryManager.h"
#include "support/JsonValue.h"
#include "support/ORVNLogger.h"

void dgaSetupTelemetry(DGASessionRecord& record) {
    const auto metricsURL = record.telemetryMetricsURL.get();
    if (record.telemetryMrg || !metricsURL || metricsURL->empty())
        return;
    const auto manager = std::make_shared<DGATelemetryManager>();
    manager->telemetryEnable = record.telemetryEnable;
    manager->telemetrySessionID = record.telemetrySessionID.get();
    manager->telemetryMetricsURL = metricsURL;
    manager->telemetryHttpHeaders = record.telemetryHttpHeaders.get();
    manager->enableAccompnyDGA = record.enableAccompnyDGA;
    record.telemetryMrg = manager;

    const auto& headers = manager->telemetryHttpHeaders;
    logInfo("DGAMonitorToolManager::setupTelemetry,_telemetryHttpHeaders:{},_telemetryMetricsURL:{}",
            support::orNull(headers ? support::jsonAsSent(*headers) : std::nullopt), *metricsURL);
    manager->startTelemetry();
}

void dgaSendTelemetryAction(const DGASessionRecord& record, DGATelemetryAction action) {
    if (record.telemetryMrg)
        record.telemetryMrg->sendTelemetryActionByID(static_cast<int>(action));
}
