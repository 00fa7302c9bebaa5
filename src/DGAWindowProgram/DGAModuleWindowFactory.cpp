#include "DGAWindowProgram/DGAModuleWindowFactory.h"

#include <utility>

#include "DGAMonitor/View/DGAFrozeWindowController.h"
#include "DGAMonitor/View/SendReport/Controller/DGAProblemReportingWindowController.h"

std::shared_ptr<DGAFrozeWindowInterface> DGAModuleWindowFactory::makeFrozeWindow(
    std::weak_ptr<DGAFrozeWindowDelegate> delegate) {
    auto controller = std::make_shared<DGAFrozeWindowController>();
    controller->setDelegate(std::move(delegate));
    return controller;
}

std::shared_ptr<DGAProblemReportingWindowInterface> DGAModuleWindowFactory::makeProblemReportingWindow() {
    return std::make_shared<DGAProblemReportingWindowController>();
}

std::shared_ptr<DGAUploadWindowInterface> DGAModuleWindowFactory::makeUploadWindow() {
    return makeUploadWindow_();
}
