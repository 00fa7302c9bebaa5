#include "DGAMonitor/Session/DGAReportResults.h"

#include <utility>

#include "platform/RunLoop.h"

DGAReportResults& DGAReportResults::sharedResults() {
    static auto* const results = new DGAReportResults();
    return *results;
}

void DGAReportResults::tell(DGAReportResult result) const {
    platform::performOnMain([this, result = std::move(result)] {
        if (const Listener listener = listener_.get())
            listener(result);
    });
}
