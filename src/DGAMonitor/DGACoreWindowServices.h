#pragma once

#include <memory>
#include <utility>

#include "DGAMonitor/Windows/DGAWindowServices.h"

class DGAWindowProcess;

/// What windows in this process ask for is done here and now.
class DGACoreWindowServices final : public DGAWindowServices {
public:
    /// `process` holds the windows that are hidden while a picture is taken; null for none.
    explicit DGACoreWindowServices(std::weak_ptr<DGAWindowProcess> process = {})
        : process_(std::move(process)) {}

    std::shared_ptr<DGAReportMaker> makeReportMaker() override;
    void saveTraceRecord(const DGATraceRecord& record) override;
    void sendTelemetryAction(DGATelemetryAction action) override;
    void uploadChanged(const DGAUploadState& state) override;
    DGAReportDraft draft() override { return draft_; }
    void setDraft(const DGAReportDraft& draft) override { draft_ = draft; }

private:
    std::weak_ptr<DGAWindowProcess> process_;
    DGAReportDraft draft_;
};
