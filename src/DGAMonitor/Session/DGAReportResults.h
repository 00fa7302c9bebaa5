#pragma once

#include <functional>
#include <string>
#include <utility>

#include "platform/Guarded.h"

/// What came of a report; ORVANE_DGA_REPORT_RESULT tells the client. One report has several in its life.
struct DGAReportResult {
    std::string number;       ///< the archive's name without ".zip"; "" if it did not get that far
    const char* state;        ///< one of DGAReportState
    std::string reason = {};  ///< of a failure, in English, without personal data
};

namespace DGAReportState {
inline constexpr char kMade[] = "made";
inline constexpr char kSent[] = "sent";
inline constexpr char kFailed[] = "failed";  ///< to be made, or to be sent
inline constexpr char kSaved[] = "saved";
inline constexpr char kMailed[] = "mailed";  ///< handed to the user's mail program
inline constexpr char kKept[] = "kept";
inline constexpr char kDiscarded[] = "discarded";
inline constexpr char kCancelled[] = "cancelled";
}  // namespace DGAReportState

/// Where everything that happens to reports is told, and who wants to hear it. Any thread.
class DGAReportResults {
public:
    using Listener = std::function<void(const DGAReportResult&)>;

    static DGAReportResults& sharedResults();

    /// Calls the listener on the main thread, soon.
    void tell(DGAReportResult result) const;

    /// One; none in place of it with an empty function.
    void setListener(Listener listener) { listener_.set(std::move(listener)); }

    DGAReportResults(const DGAReportResults&) = delete;
    DGAReportResults& operator=(const DGAReportResults&) = delete;

private:
    DGAReportResults() = default;
    platform::Guarded<Listener> listener_;
};
