#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DGAMonitor/Const/DGATelemetryActions.h"
#include "DGAMonitor/Const/DGATraceRecord.h"
#include "DGAMonitor/Session/DGAReportMaker.h"

/// What becomes of an archive that is sent to the meeting service.
struct DGAUploadState {
    std::string path;          ///< the archive's
    std::string state;         ///< "sending", then "sent", "failed", "saved", "mailed" or "cancelled"
    std::string reason = {};   ///< of a failure
    std::string comment = {};  ///< what the user wrote
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

/// A report that was neither sent nor saved nor discarded.
struct DGAKeptReport {
    std::string number;
    std::string description;
    int64_t category = 0;
    std::string time;  ///< when it was first kept, ISO 8601 with offset
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

    /// Finds what a report with these options would hold, under a number that the caller chooses, and tells
    /// it: at once what is there, later with what has been made for it. Under a number that is listed already
    /// the same files are told again. They are what is packed for DGAReportOptions::listing.
    virtual void listContents(int64_t listing, const DGAReportOptions& options,
                              std::function<void(const DGAReportContents&)> told) = 0;
    /// Takes the listing's picture of the screen again, and tells.
    virtual void retakePicture(int64_t listing) = 0;
    /// Nobody will pack that listing.
    virtual void dropContents(int64_t listing) = 0;

    /// Tells the reports that are kept, the oldest first.
    virtual void keptReports(std::function<void(const std::vector<DGAKeptReport>&)> told) = 0;
    virtual void discardKeptReport(const std::string& number) = 0;
};
