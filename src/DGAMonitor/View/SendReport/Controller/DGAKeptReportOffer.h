#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "DGAMonitor/Windows/DGAWindowServices.h"

class DGANoticeLine;

/// Offers the reports that have not been sent, one at a time, the newest first: to send it or to discard it,
/// which it asks about. Main thread. The line outlives it.
class DGAKeptReportOffer {
public:
    DGAKeptReportOffer() = default;
    DGAKeptReportOffer(const DGAKeptReportOffer&) = delete;
    DGAKeptReportOffer& operator=(const DGAKeptReportOffer&) = delete;

    /// Asks what is kept, and shows it when that is known.
    void refresh(DGANoticeLine& line, std::function<void(const DGAKeptReport&)> send);

private:
    void offer();
    void discard();
    void next();

    DGANoticeLine* line_ = nullptr;
    std::function<void(const DGAKeptReport&)> send_;
    std::vector<DGAKeptReport> reports_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};
