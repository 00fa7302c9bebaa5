#include "DGAMonitor/View/DGAMessage.h"

#include <QApplication>
#include <QLayout>
#include <QPushButton>
#include <utility>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAText.h"
#include "platform/RunLoop.h"

namespace {

constexpr int kMargin = 2 * DGAStyle::kGrid;
constexpr int kIconSize = 48;

// Without the toolkit's own icons, which belong to no desktop of today.
QMessageBox* makeMessage(QWidget* window, const QString& text) {
    auto* const message =
        new QMessageBox(QMessageBox::NoIcon, window->windowTitle(), text, QMessageBox::NoButton, window);
    // Its own setter would make it a sheet, which gets no frame where the toolkit draws them.
    message->QDialog::setWindowModality(Qt::WindowModal);
    message->setIconPixmap(QApplication::windowIcon().pixmap(QSize(kIconSize, kIconSize)));
    message->layout()->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    QObject::connect(message, &QDialog::finished, message, [message] {
        platform::performOnMain([guarded = QPointer<QObject>(message)] { delete guarded; });
    });
    return message;
}

}  // namespace

QMessageBox* dgaTell(QWidget* window, const QString& text) {
    auto* const message = makeMessage(window, text);
    message->addButton(dgaText(lDGAOKStr), QMessageBox::AcceptRole);
    message->open();
    return message;
}

QPointer<QMessageBox> dgaAsk(QWidget* window, const QString& text, const QString& yes, const QString& no,
                             QObject* context, std::function<void(bool yes)> answered) {
    auto* const message = makeMessage(window, text);
    auto* const yesButton = message->addButton(yes, QMessageBox::AcceptRole);
    auto* const noButton = message->addButton(no, QMessageBox::RejectRole);
    message->setDefaultButton(noButton);
    message->setEscapeButton(noButton);
    QObject::connect(message, &QDialog::finished, context, [message, yesButton, done = std::move(answered)] {
        done(message->clickedButton() == yesButton);
    });
    message->open();
    return message;
}
