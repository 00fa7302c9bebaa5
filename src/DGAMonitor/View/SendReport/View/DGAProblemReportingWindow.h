#pragma once

#include "DGAMonitor/View/DGAWindowBase.h"

/// The window in which the user describes a problem.
class DGAProblemReportingWindow final : public DGAWindowBase {
    Q_OBJECT

public:
    using DGAWindowBase::DGAWindowBase;

    /// Every window of this class may have the keyboard.
    static bool canBecomeKeyWindow() { return true; }

signals:
    /// Return with Control, which no control takes.
    void sendPressed();

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
