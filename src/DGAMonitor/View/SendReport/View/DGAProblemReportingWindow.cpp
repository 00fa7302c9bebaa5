#include "DGAMonitor/View/SendReport/View/DGAProblemReportingWindow.h"

#include <QKeyEvent>

void DGAProblemReportingWindow::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (event->isAutoRepeat())
        return;
    if (isReturn)
        emit returnPressed();
    else if (event->matches(QKeySequence::Cancel))
        emit escapePressed();
    else
        DGAWindowBase::keyPressEvent(event);
}
