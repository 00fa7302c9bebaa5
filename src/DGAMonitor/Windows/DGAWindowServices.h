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

/// What the user has entered into the problem reporting window so far.
struct DGAReportDraft {
    std::string description;  ///< "" if there is nothing to come back to
    int64_t category = 0;
    bool screenShot = true;
    bool systemInfo = true;

    bool operator==(const DGAReportDraft&) const = default;
};

/// What the windows ask of the rest of the assistant. Main thread.
class DGAWindowServices {
public:
    virtual ~DGAWindowServices() = default;
    virtual std::shared_ptr<DGAReportMaker> makeReportMaker() = 0;
    virtual void saveTraceRecord(const DGATraceRecord& record) = 0;
    virtual void sendTelemetryAction(DGATelemetryAction action) = 0;
    virtual void uploadChanged(const DGAUploadState& state) = 0;

    /// What was entered and not sent yet. Kept as long as the assistant runs; a report that is being sent
    /// ends the draft of its text, since from then on its archive holds it.
    virtual DGAReportDraft draft() = 0;
    virtual void setDraft(const DGAReportDraft& draft) = 0;
};
