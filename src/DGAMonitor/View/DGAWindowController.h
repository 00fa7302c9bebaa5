#pragma once

#include "DGAMonitor/View/DGAWindowBase.h"

/// What the controller of every window does alike: owns the window and answers for it to the core. Ending the
/// controller closes the window, also from inside one of the window's own handlers.
template <typename Interface, typename Window>
class DGAWindowController : public Interface {
public:
    DGAWindowController() : window_(new Window()) {}

    bool isVisible() const override { return window_->isVisible(); }
    void bringToFront() override { window_->bringToFront(); }
    void center() override { window_->center(); }
    void close() override { window_->hide(); }

    Window& window() const { return *window_; }

private:
    DGAWindowOwner<Window> window_;
};
