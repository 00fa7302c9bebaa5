#pragma once

#include "DGAMonitor/Windows/DGAWindowServices.h"

/// What windows in this process ask for is done here and now.
class DGACoreWindowServices final : public DGAWindowServices {
public:
    std::shared_ptr<DGAReportMaker> makeReportMaker() override;
    void saveTraceRecord(const DGATraceRecord& record) override;
    void sendTelemetryAction(DGATelemetryAction action) override;
    void uploadChanged(const DGAUploadState& state) override;
};
