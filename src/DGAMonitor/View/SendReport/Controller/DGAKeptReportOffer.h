#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DGAMonitor/Windows/DGAWindowServices.h"

class DGANoticeLine;

/// Offers the reports that have not been sent, one at a time, the newest first: to hand it on, to discard it,
/// which it asks about, or to see the next one. Main thread. The line outlives it.
class DGAKeptReportOffer {
public:
    DGAKeptReportOffer() = default;
    DGAKeptReportOffer(const DGAKeptReportOffer&) = delete;
    DGAKeptReportOffer& operator=(const DGAKeptReportOffer&) = delete;

    /// What becomes of a report that is handed on: it is sent, or saved.
    struct Way {
        const char* title;                                 ///< the key of its button's text
        std::function<bool(const DGAKeptReport&)> handOn;  ///< false if it is not taken now
        bool isAllowed = true;  ///< false where the administrator's policy forbids it
        std::string first;      ///< the number of the one that is offered first, if it is kept
    };

    /// Asks what is kept, and shows it when that is known.
    void refresh(DGANoticeLine& line, Way way);

private:
    void offer();
    void discard();
    void end(const std::string& number);
    void next();

    DGANoticeLine* line_ = nullptr;
    Way way_;
    std::vector<DGAKeptReport> reports_;  ///< the newest first
    size_t offered_ = 0;                  ///< which of them
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};
