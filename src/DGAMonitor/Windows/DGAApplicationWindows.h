#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "DGAMonitor/Windows/DGAWindowInterfaces.h"
#include "DGAMonitor/Windows/DGAWindowServices.h"

/// The windows of the application as the core sees them: makes them through the installed factory and
/// knows which are visible. Main thread, except where a method says otherwise.
class DGAApplicationWindows {
public:
    /// The one instance. It lives as long as the process.
    static DGAApplicationWindows& sharedWindows();

    /// The two windows of which there is one, made when first needed; null before. They live on, hidden, when
    /// closed.
    std::shared_ptr<DGAProblemReportingWindowInterface> rpWindowCtrl;
    std::shared_ptr<DGAUploadWindowInterface> uploadWindowCtrl;

    /// What the windows may ask of the rest of the assistant; set before the first one is made.
    void setServices(std::shared_ptr<DGAWindowServices> services) { services_ = std::move(services); }
    DGAWindowServices& services() const { return *services_; }

    /// Null removes it; then no window is made.
    void installFactory(std::shared_ptr<DGAWindowFactory> factory);

    /// New hidden windows; null, with one line in the log, when there is no factory or it makes none.
    std::shared_ptr<DGAFrozeWindowInterface> makeFrozeWindow(std::weak_ptr<DGAFrozeWindowDelegate> delegate);
    std::shared_ptr<DGAProblemReportingWindowInterface> makeProblemReportingWindow();
    std::shared_ptr<DGAUploadWindowInterface> makeUploadWindow();

    /// Tells that a window, of whatever kind, has become visible or has ceased to be. `window` is only an
    /// identity.
    void setVisible(const void* window, bool visible);

    /// Whether any window is visible. Any thread.
    bool anyVisible() const { return visibleCount_ > 0; }

    /// Told whenever a window has become visible or has ceased to be.
    std::function<void()> onChange;

    /// With which the client lets a window of ours come to the front (Wayland's xdg-activation); "" if it
    /// gave none. It holds for what is shown or brought to the front while it is set.
    void setActivationToken(std::string token) { activationToken_ = std::move(token); }
    const std::string& activationToken() const { return activationToken_; }

    /// Brings those windows to the front that were made here and are visible.
    void bringAllVisibleToFront();

    DGAApplicationWindows(const DGAApplicationWindows&) = delete;
    DGAApplicationWindows& operator=(const DGAApplicationWindows&) = delete;

private:
    DGAApplicationWindows() = default;
    template <typename Window, typename Make>
    std::shared_ptr<Window> make(const char* what, Make make);

    std::shared_ptr<DGAWindowServices> services_;
    std::shared_ptr<DGAWindowFactory> factory_;
    std::vector<std::weak_ptr<DGAWindowInterface>> made_;
    std::set<const void*> visible_;
    std::atomic<size_t> visibleCount_{0};
    std::string activationToken_;
};
