#include "DGAUpload/ui/UploadWindowController.h"

#include <fmt/format.h>

#include <utility>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/Windows/DGAUtilitiesWindows.h"
#include "DGAUpload/ui/UploadView.h"
#include "platform/RunLoop.h"
#include "support/ORVNLogger.h"
#include "ui_UploadWindowController.h"

UploadWindowController::UploadWindowController(UploadViewController::Parts parts)
    : parts_(std::move(parts)), ui_(std::make_unique<Ui::UploadWindowController>()) {
    ui_->setupUi(&window());
    QObject::connect(&window(), &DGAWindowBase::closeRequested, context(), [this] {
        if (const auto shown = uploadVC_)
            shown->closeBtnClicked();
    });
}

UploadWindowController::~UploadWindowController() {
    releaseViewController();
}

void UploadWindowController::showUploadWindowIfScreenShot(const DGAReportOptions& options,
                                                          const std::string& comment,
                                                          int64_t problemCatagory) {
    ORVN_LOG_METHOD();
    releaseViewController();
    uploadVC_ = std::make_shared<UploadViewController>(parts_, [this] { close(); });
    uploadVC_->setOptions(options);
    uploadVC_->setComment(comment);
    uploadVC_->setCatagory(fmt::format("{}", problemCatagory));
    uploadVC_->setTryAgain([this, options, comment, problemCatagory] {
        showUploadWindowIfScreenShot(options, comment, problemCatagory);
    });
    setupWindow();
}

void UploadWindowController::setupWindow() {
    window().setWindowTitle(dgaText(lDGARPWindowTitleStr));
    UploadView& view = uploadVC_->view();
    ui_->windowLayout->addWidget(&view);
    window().setDrawnFrame(view.title(), view.closeButton());
    window().setScrolling(view.steps());
    view.show();  // in a window that is shown already the layout would not count it yet
    window().setLevel(DGAUtilities::dga_fetchWindowLevel());
    window().center();
    window().showInFront();
}

void UploadWindowController::close() {
    window().hide();
    releaseViewController();
}

void UploadWindowController::releaseViewController() {
    const auto released = std::exchange(uploadVC_, nullptr);
    if (!released)
        return;
    released->detach();
    // Released later: this may be running inside one of its own handlers.
    platform::performOnMain([released] {});
}
