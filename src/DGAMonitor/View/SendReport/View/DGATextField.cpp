#include "DGAMonitor/View/SendReport/View/DGATextField.h"

#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QPainter>

#include "DGAMonitor/View/DGAStyle.h"

namespace {

// Below this number of UTF-16 units they are counted for characters: nobody needs the exact number of few.
constexpr int kCountedExactly = 9000;

bool isReturn(const QKeyEvent& event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

}  // namespace

DGATextFieldBackgroundView::DGATextFieldBackgroundView(QWidget* parent) : QWidget(parent) {}

void DGATextFieldBackgroundView::setBorderColor(const QColor& color) {
    borderColor_ = color;
    update();
}

void DGATextFieldBackgroundView::setBorderWidth(qreal width) {
    borderWidth_ = width;
    update();
}

void DGATextFieldBackgroundView::setCornerRadius(qreal radius) {
    cornerRadius_ = radius;
    update();
}

void DGATextFieldBackgroundView::paintEvent(QPaintEvent* /*event*/) {
    if (!borderColor_.isValid() || borderWidth_ <= 0)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(borderColor_, borderWidth_));
    painter.setBrush(Qt::white);
    const qreal inset = borderWidth_ / 2;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), cornerRadius_,
                            cornerRadius_);
    for (const auto* const field : findChildren<DGATextField*>()) {
        if (field->hasFocus())
            DGAStyle::paintFocusRing(painter, rect(), cornerRadius_);
    }
}

DGATextField::DGATextField(QWidget* parent) : QPlainTextEdit(parent) {
    setFrameShape(QFrame::NoFrame);
    setTabChangesFocus(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setFont(DGAStyle::systemFont(DGAStyle::kFontSize));
    document()->setDocumentMargin(0);
}

std::string DGATextField::stringValue() const {
    // Not toPlainText(), which turns a no-break space into a plain one.
    return document()->toRawText().replace(QChar::ParagraphSeparator, QLatin1Char('\n')).toStdString();
}

int DGATextField::characterCount() const {
    // The document counts one for its end; halves of a character beyond U+FFFF count apart only where there
    // are few.
    const int units = document()->characterCount() - 1;
    return units < kCountedExactly ? units : static_cast<int>(document()->toRawText().toUcs4().size());
}

void DGATextField::setStringValue(const std::string& text) {
    setPlainText(QString::fromStdString(text));
}

// Escape is the window's, whatever the editor would make of it.
bool DGATextField::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        event->ignore();
        return false;
    }
    return QPlainTextEdit::event(event);
}

void DGATextField::keyPressEvent(QKeyEvent* event) {
    const bool isSend = isReturn(*event) && (event->modifiers() & Qt::ControlModifier) != 0;
    if (isSend || event->matches(QKeySequence::Cancel))
        event->ignore();
    else if (isReturn(*event))
        textCursor().insertBlock();
    else
        QPlainTextEdit::keyPressEvent(event);
    ensureCursorVisible();
}

void DGATextField::inputMethodEvent(QInputMethodEvent* event) {
    QPlainTextEdit::inputMethodEvent(event);
    if (const bool composing = !event->preeditString().isEmpty(); composing != composing_) {
        composing_ = composing;
        emit composingChanged();
    }
}

void DGATextField::focusInEvent(QFocusEvent* event) {
    QPlainTextEdit::focusInEvent(event);
    if (parentWidget())
        parentWidget()->update();
}

void DGATextField::focusOutEvent(QFocusEvent* event) {
    QPlainTextEdit::focusOutEvent(event);
    if (parentWidget())
        parentWidget()->update();
}
