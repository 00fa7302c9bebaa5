#pragma once

#include "DGAMonitor/View/DGAWindowBase.h"

/// The window in which the user describes a problem.
class DGAProblemReportingWindow final : public DGAWindowBase {
    Q_OBJECT

public:
    explicit DGAProblemReportingWindow(QWidget* parent = nullptr);

    /// Every window of this class may have the keyboard.
    static bool canBecomeKeyWindow() { return true; }

signals:
    /// Return with Control, whichever control has the keyboard.
    void sendPressed();
};
