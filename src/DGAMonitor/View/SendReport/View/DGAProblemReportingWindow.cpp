#include "DGAMonitor/View/SendReport/View/DGAProblemReportingWindow.h"

#include <QShortcut>

// Shortcuts, as under GNOME's theme each Return opens the list or presses the button that has the keyboard.
DGAProblemReportingWindow::DGAProblemReportingWindow(QWidget* parent) : DGAWindowBase(parent) {
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto* const send = new QShortcut(Qt::CTRL | key, this);
        send->setAutoRepeat(false);
        connect(send, &QShortcut::activated, this, &DGAProblemReportingWindow::sendPressed);
    }
}
