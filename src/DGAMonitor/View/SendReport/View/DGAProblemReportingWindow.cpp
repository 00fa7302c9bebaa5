#include "DGAMonitor/View/SendReport/View/DGAProblemReportingWindow.h"

#include <QKeyEvent>

void DGAProblemReportingWindow::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (event->isAutoRepeat())
        return;
    if (isReturn && (event->modifiers() & Qt::ControlModifier) != 0)
        emit sendPressed();
    else
        DGAWindowBase::keyPressEvent(event);
}
