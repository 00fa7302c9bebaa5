#include "DGAMonitor/Windows/DGAApplicationWindows.h"

#include <utility>

#include "DGAMonitor/Windows/DGAWindowModuleEntry.h"
#include "platform/LoadableModule.h"
#include "support/ORVNLogger.h"

DGAApplicationWindows& DGAApplicationWindows::sharedWindows() {
    static auto* const windows = new DGAApplicationWindows();
    return *windows;
}

void DGAApplicationWindows::installFactory(std::shared_ptr<DGAWindowFactory> factory) {
    factory_ = std::move(factory);
}

// Returns why there is still no factory.
std::string DGAApplicationWindows::openModule() {
    if (!givenUp_.empty() || moduleName_.empty())
        return givenUp_;
    const auto library = platform::LoadableModule::open(moduleName_);
    auto* const entry =
        library ? library->function<DGAWindowModuleEntryFunction>(kDGAWindowModuleEntry) : nullptr;
    if (!entry)
        return "the module " + moduleName_ + " cannot be used";
    const DGAWindowModule* const module = entry();
    if (!module || module->version != kDGAWindowModuleVersion)
        return "the module " + moduleName_ + " is of another version";
    std::string why;
    factory_ = module->makeFactory(why);
    return why;
}

template <typename Window, typename Make>
std::shared_ptr<Window> DGAApplicationWindows::make(const char* what, Make make) {
    const std::string why = factory_ ? std::string() : openModule();
    std::shared_ptr<Window> window = factory_ ? make(*factory_) : nullptr;
    if (!window) {
        logWarning("there is no {} to show{}{}", what, why.empty() ? "" : ": ", why);
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
    if (visible && givenUp_.empty())
        visible_.insert(window);
    else
        visible_.erase(window);
    visibleCount_ = visible_.size();
}

void DGAApplicationWindows::giveUp(std::string why) {
    givenUp_ = std::move(why);
    factory_.reset();
    static std::vector<std::shared_ptr<DGAWindowInterface>> kept;
    for (const auto& made : std::exchange(made_, {})) {
        if (auto window = made.lock())
            kept.push_back(std::move(window));
    }
    visible_.clear();
    visibleCount_ = 0;
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
