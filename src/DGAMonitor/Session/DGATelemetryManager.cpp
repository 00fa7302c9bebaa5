#include "DGAMonitor/Session/DGATelemetryManager.h"

#include "support/JsonValue.h"
#include "support/ORVNLogger.h"
#include "support/OrvTelemetry.h"

bool DGATelemetryManager::judgeAvailable() const {
    if (!telemetryEnable)
        logWarning("{},telemetryEnable == false", ORVN_METHOD_NAME);
    if (!telemetryMetricsURL || telemetryMetricsURL->empty()) {
        logWarning("{},telemetryMetricsURL == nil || telemetryMetricsURL == nil", ORVN_METHOD_NAME);
        return false;
    }
    return telemetryEnable;
}

void DGATelemetryManager::startTelemetry() const {
    ORVN_LOG_METHOD();
    if (!judgeAvailable())
        return;
    if (!telemetryHttpHeaders || !telemetryHttpHeaders->is_object()) {
        logInfo("{},httpHeaders is not NSDictionary", ORVN_METHOD_NAME);
        return;
    }
    for (const auto& [name, value] : telemetryHttpHeaders->items()) {
        if (const auto text = support::jsonAsSent(value))
            SetTelemetryHttpHeader(name.c_str(), text->c_str());
    }
    StartOrvTelemetry(telemetryMetricsURL->c_str(),
                      telemetrySessionID ? telemetrySessionID->c_str() : nullptr);
}

void DGATelemetryManager::sendTelemetryActionByID(int actionID) const {
    ORVN_LOG_METHOD();
    if (!judgeAvailable())
        return;
    SendTelemetryActionByID(actionID);
    SendTelemetryDataImmediately();
}

void DGATelemetryManager::closeOrvTelemetry() {
    CloseOrvTelemetry();
}
