#pragma once

#include "DGAMonitor/Const/DGATelemetryActions.h"

class DGASessionRecord;

// Telemetry of a session. Main thread.

/// Starts telemetry when the client allows it; called after every parameter message. The first one with an
/// address decides for the run.
void dgaSetupTelemetry(DGASessionRecord& record);

/// Sends an action where telemetry has been started; else nothing.
void dgaSendTelemetryAction(const DGASessionRecord& record, DGATelemetryAction action);
