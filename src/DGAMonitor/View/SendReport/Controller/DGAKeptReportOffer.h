#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "DGAMonitor/Windows/DGAWindowServices.h"

class DGANoticeLine;

/// Offers the reports that have not been sent, one at a time, the newest first: to hand it on or to discard
/// it, which it asks about. Main thread. The line outlives it.
class DGAKeptReportOffer {
public:
    DGAKeptReportOffer() = default;
    DGAKeptReportOffer(const DGAKeptReportOffer&) = delete;
    DGAKeptReportOffer& operator=(const DGAKeptReportOffer&) = delete;

    /// Asks what is kept, and shows it when that is known. `title` (a text's key) is of the button that has
    /// one handed on: sent, or saved.
    void refresh(DGANoticeLine& line, const char* title, std::function<void(const DGAKeptReport&)> handOn);

private:
    void offer();
    void discard();
    void next();

    DGANoticeLine* line_ = nullptr;
    const char* title_ = nullptr;
    std::function<void(const DGAKeptReport&)> handOn_;
    std::vector<DGAKeptReport> reports_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};
