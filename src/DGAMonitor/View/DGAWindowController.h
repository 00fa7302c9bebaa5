#pragma once

#include <QObject>

#include "DGAMonitor/View/DGAWindowBase.h"

/// What the controller of every window does alike: owns the window and answers for it to the core. Ending the
/// controller closes the window, also from inside one of the window's own handlers.
template <typename Interface, typename Window>
class DGAWindowController : public Interface {
public:
    DGAWindowController() : window_(new Window()) {}

    bool isVisible() const override { return window_->isShown(); }
    void bringToFront() override { window_->bringToFront(); }
    void center() override { window_->center(); }
    void close() override { window_->hide(); }

    Window& window() const { return *window_; }

protected:
    /// The receiver of what the window and its controls tell: connections to it end with the controller,
    /// while the window itself ends a little later.
    QObject* context() { return &context_; }

private:
    DGAWindowOwner<Window> window_;
    QObject context_;
};
