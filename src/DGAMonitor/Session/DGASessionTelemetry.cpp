#include "DGAMonitor/Session/DGASessionTelemetry.h"

#include "DGAMonitor/Session/DGAPolicy.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGATelemetryManager.h"
#include "support/JsonValue.h"
#include "support/ORVNLogger.h"
#include "support/PlainText.h"

namespace {

// The headers' names: their values may be secrets.
std::string namesOf(const nlohmann::json* headers) {
    if (!headers)
        return "(null)";
    std::string names;
    for (const auto& [name, value] : headers->items())
        names += (names.empty() ? "" : ",") + (headers->is_object() ? name : std::string());
    return names;
}

}  // namespace

void dgaSetupTelemetry(DGASessionRecord& record) {
    const auto metricsURL = record.telemetryMetricsURL.get();
    if (record.telemetryMrg || !metricsURL || metricsURL->empty())
        return;
    const auto manager = std::make_shared<DGATelemetryManager>();
    manager->telemetryEnable = record.telemetryEnable && DGAPolicy::current().allows(DGAPolicyKey::telemetry);
    manager->telemetrySessionID = record.telemetrySessionID.get();
    manager->telemetryMetricsURL = metricsURL;
    manager->telemetryHttpHeaders = record.telemetryHttpHeaders.get();
    manager->enableAccompnyDGA = record.enableAccompnyDGA;
    record.telemetryMrg = manager;

    logInfo("DGAMonitorToolManager::setupTelemetry,_telemetryHttpHeaders:{},_telemetryMetricsURL:{}",
            namesOf(manager->telemetryHttpHeaders.get()), support::addressWithoutSecrets(*metricsURL));
    manager->startTelemetry();
}

void dgaSendTelemetryAction(const DGASessionRecord& record, DGATelemetryAction action) {
    if (record.telemetryMrg)
        record.telemetryMrg->sendTelemetryActionByID(static_cast<int>(action));
}
