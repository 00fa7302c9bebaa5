#pragma once

#include <memory>

#include "DGAMonitor/View/DGAWindowController.h"
#include "DGAMonitor/Windows/DGAWindowInterfaces.h"
#include "DGAUpload/ui/UploadViewController.h"
#include "DGAUpload/ui/UploadWindow.h"

namespace Ui {
class UploadWindowController;
}

/// The window that makes a report, sends it and shows how far it is. Each report has a view controller of its
/// own; closing the window, or showing it for another report, ends the one that is under way.
class UploadWindowController final : public DGAWindowController<DGAUploadWindowInterface, UploadWindow> {
public:
    explicit UploadWindowController(UploadViewController::Parts parts = {});
    ~UploadWindowController() override;

    void showUploadWindowIfScreenShot(const DGAReportOptions& options, const std::string& comment,
                                      int64_t problemCatagory) override;

    /// Nothing of the upload goes on afterwards; the archive stays. Also from inside the window's own
    /// handlers.
    void close() override;

    /// The report that is shown; null while the window is closed.
    const std::shared_ptr<UploadViewController>& uploadVC() const { return uploadVC_; }

private:
    void setupWindow();
    void releaseViewController();

    UploadViewController::Parts parts_;
    std::unique_ptr<Ui::UploadWindowController> ui_;
    std::shared_ptr<UploadViewController> uploadVC_;
};
