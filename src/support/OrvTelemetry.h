#pragma once

#include <functional>

#include "support/telemetry_sender/TelemetrySender.h"

// Usage telemetry: numbered actions, each an OpenTelemetry log record, POSTed as JSON (OTLP/HTTP, an
// ExportLogsServiceRequest) to the metrics address as it stands. https://opentelemetry.io/docs/specs/otlp
//
// All functions return at once, except CloseOrvTelemetry(); sending happens on a thread that lives while
// there is something to send. Any thread. Nothing is reported but in the log.
//
// An action reaches the service at most once: it is sent a second time, once, only if it surely did not
// arrive or the service asked for it (429, 502, 503, 504), and then it is given up.

/// Adds a request header for the sessions that start later; the same name again replaces it. Line breaks and
/// other control characters are taken out of the value. A name that HTTP does not allow, or that would change
/// what the request itself is (such as Content-Length or Host), is refused.
void SetTelemetryHttpHeader(const char* name, const char* value);

/// Has requests sent by `send`, as OrvTelemetrySender says, instead of by the module, which is then never
/// loaded. Before the first action.
void SetTelemetrySender(std::function<void(const OrvTelemetryRequest&, OrvTelemetryAnswer&)> send);

/// Starts a session towards an http or https address, in place of one that may be there. `trackingID` may be
/// null. Nothing is sent yet.
void StartOrvTelemetry(const char* metricsURL, const char* trackingID);

/// Queues one action; without a session it is dropped. Of more than 1000 waiting actions the oldest are
/// dropped.
void SendTelemetryActionByID(int actionID);

/// Sends what is queued, soon.
void SendTelemetryDataImmediately();

/// Ends the session and forgets the headers. What is queued is sent first, for at most two seconds.
void CloseOrvTelemetry();
