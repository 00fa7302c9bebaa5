#pragma once

#include "DGAMonitor/View/DGAWindowBase.h"

/// The window that shows how a report is sent.
class UploadWindow final : public DGAWindowBase {
    Q_OBJECT

public:
    explicit UploadWindow(QWidget* parent = nullptr);

    /// Whether it may have the keyboard.
    bool canBecomeKeyWindow() const { return true; }
};
