#pragma once

#include <functional>

#include "DGAMonitor/Windows/DGAWindowInterfaces.h"

/// Makes the windows of this program. The toolkit runs.
class DGAModuleWindowFactory final : public DGAWindowFactory {
public:
    using MakeUploadWindow = std::function<std::shared_ptr<DGAUploadWindowInterface>()>;

    /// `makeUploadWindow` reaches the one window that links more than the toolkit.
    explicit DGAModuleWindowFactory(MakeUploadWindow makeUploadWindow)
        : makeUploadWindow_(std::move(makeUploadWindow)) {}

    std::shared_ptr<DGAFrozeWindowInterface> makeFrozeWindow(
        std::weak_ptr<DGAFrozeWindowDelegate> delegate) override;
    std::shared_ptr<DGAProblemReportingWindowInterface> makeProblemReportingWindow() override;
    std::shared_ptr<DGAUploadWindowInterface> makeUploadWindow() override;

private:
    MakeUploadWindow makeUploadWindow_;
};
