#include "DGAMonitor/Windows/DGAApplicationWindows.h"

#include <utility>

#include "support/ORVNLogger.h"

DGAApplicationWindows& DGAApplicationWindows::sharedWindows() {
    static auto* const windows = new DGAApplicationWindows();
    return *windows;
}

void DGAApplicationWindows::installFactory(std::shared_ptr<DGAWindowFactory> factory) {
    factory_ = std::move(factory);
}

template <typename Window, typename Make>
std::shared_ptr<Window> DGAApplicationWindows::make(const char* what, Make make) {
    std::shared_ptr<Window> window = factory_ ? make(*factory_) : nullptr;
    if (!window) {
        logWarning("there is no {} to show", what);
        return nullptr;
    }
    std::erase_if(made_, [](const auto& other) { return other.expired(); });
    made_.push_back(window);
    return window;
}

std::shared_ptr<DGAFrozeWindowInterface> DGAApplicationWindows::makeFrozeWindow(
    std::weak_ptr<DGAFrozeWindowDelegate> delegate) {
    return make<DGAFrozeWindowInterface>("not-responding prompt", [&](DGAWindowFactory& factory) {
        return factory.makeFrozeWindow(std::move(delegate));
    });
}

std::shared_ptr<DGAProblemReportingWindowInterface> DGAApplicationWindows::makeProblemReportingWindow() {
    return make<DGAProblemReportingWindowInterface>(
        "problem reporting window",
        [](DGAWindowFactory& factory) { return factory.makeProblemReportingWindow(); });
}

std::shared_ptr<DGAUploadWindowInterface> DGAApplicationWindows::makeUploadWindow() {
    return make<DGAUploadWindowInterface>(
        "upload window", [](DGAWindowFactory& factory) { return factory.makeUploadWindow(); });
}

void DGAApplicationWindows::setVisible(const void* window, bool visible) {
    const size_t before = visible_.size();
    if (visible)
        visible_.insert(window);
    else
        visible_.erase(window);
    visibleCount_ = visible_.size();
    if (visible_.size() != before && onChange)
        onChange();
}

void DGAApplicationWindows::bringAllVisibleToFront() {
    // A copy: bringing a window to the front may make or end others.
    const auto windows = made_;
    for (const auto& made : windows) {
        const auto window = made.lock();
        if (window && window->isVisible())
            window->bringToFront();
    }
}
