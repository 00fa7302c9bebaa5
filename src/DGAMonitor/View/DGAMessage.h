#pragma once

#include <QMessageBox>
#include <QPointer>
#include <functional>

// Short messages over a window, in its looks. They are window-modal, return at once, delete themselves, and
// end with their window. Main thread.

/// Says something that there is nothing to decide about.
QMessageBox* dgaTell(QWidget* window, const QString& text);

/// Asks whether to do something. Return and Escape mean no. `answered` is told once, also when the message is
/// taken away by reject(); not after `context` has ended.
QPointer<QMessageBox> dgaAsk(QWidget* window, const QString& text, const QString& yes, const QString& no,
                             QObject* context, std::function<void(bool yes)> answered);
