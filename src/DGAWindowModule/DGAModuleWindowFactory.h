#pragma once

#include "DGAMonitor/Windows/DGAWindowInterfaces.h"

/// Makes the windows of this module. The toolkit runs.
class DGAModuleWindowFactory final : public DGAWindowFactory {
public:
    std::shared_ptr<DGAFrozeWindowInterface> makeFrozeWindow(
        std::weak_ptr<DGAFrozeWindowDelegate> delegate) override;
    std::shared_ptr<DGAProblemReportingWindowInterface> makeProblemReportingWindow() override;
    std::shared_ptr<DGAUploadWindowInterface> makeUploadWindow() override;
};
