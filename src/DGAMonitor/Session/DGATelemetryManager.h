#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

/// Sends a few actions of the user by number, where the client allows it. The settings are copies of the
/// session record's, made once a run by dgaSetupTelemetry(). Main thread.
class DGATelemetryManager {
public:
    bool telemetryEnable = false;
    std::optional<std::string> telemetrySessionID;   ///< the tracking id
    std::optional<std::string> telemetryMetricsURL;  ///< the service's address
    std::shared_ptr<const nlohmann::json> telemetryHttpHeaders;
    bool enableAccompnyDGA = false;

    /// Whether the client allows telemetry and has said where it goes; logs why not.
    bool judgeAvailable() const;

    /// Starts the telemetry library with the client's request headers; not if they are no JSON object.
    void startTelemetry() const;

    /// Queues one action and has it sent at once; nothing if telemetry is not available. Returns at once.
    void sendTelemetryActionByID(int actionID) const;

    /// Ends telemetry; what is queued is sent first, for at most two seconds. Any thread.
    static void closeOrvTelemetry();
};
