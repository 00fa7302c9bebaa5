#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "DGAMonitor/Const/DGATelemetryActions.h"
#include "DGAMonitor/Const/DGATraceRecord.h"
#include "DGAMonitor/Session/DGAReportMaker.h"

/// What becomes of an archive that is sent to the meeting service.
struct DGAUploadState {
    std::string path;     ///< the archive's
    std::string state;    ///< "sending", then "sent", "failed", "saved" or "cancelled"
    std::string reason;   ///< of a failure
    std::string comment;  ///< what the user wrote
    int64_t category = 0;
};

/// What the windows ask of the rest of the assistant. Main thread.
class DGAWindowServices {
public:
    virtual ~DGAWindowServices() = default;
    virtual std::shared_ptr<DGAReportMaker> makeReportMaker() = 0;
    virtual void saveTraceRecord(const DGATraceRecord& record) = 0;
    virtual void sendTelemetryAction(DGATelemetryAction action) = 0;
    virtual void uploadChanged(const DGAUploadState& state) = 0;
};
