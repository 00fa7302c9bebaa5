#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DGAMonitor/Report/DGAReportCollection.h"
#include "DGAMonitor/Windows/DGAWindowServices.h"

class DGAWindowProcess;

/// What windows in this process ask for is done here and now.
class DGACoreWindowServices : public DGAWindowServices {
public:
    /// `process` holds the windows that are hidden while a picture is taken; null for none.
    explicit DGACoreWindowServices(std::weak_ptr<DGAWindowProcess> process = {});

    /// For tests: what reports are made with.
    explicit DGACoreWindowServices(const DGAReportCollection::Tools& tools);

    std::shared_ptr<DGAReportMaker> makeReportMaker() override;
    void saveTraceRecord(const DGATraceRecord& record) override;
    void sendTelemetryAction(DGATelemetryAction action) override;
    void uploadChanged(const DGAUploadState& state) override;
    DGAReportDraft draft() override { return draft_; }
    void setDraft(const DGAReportDraft& draft) override { draft_ = draft; }
    void listContents(int64_t listing, const DGAReportOptions& options,
                      std::function<void(const DGAReportContents&)> told) override;
    void retakePicture(int64_t listing) override;
    void dropContents(int64_t listing) override;
    void keptReports(std::function<void(const std::vector<DGAKeptReport>&)> told) override;
    void discardKeptReport(const std::string& number) override;

private:
    struct Listings;

    DGAReportCollection::Tools tools_;
    std::shared_ptr<Listings> listings_;
    DGAReportDraft draft_;
};
