#include "DGAMonitor/View/SendReport/View/DGALinkButton.h"

#include <QKeyEvent>
#include <QPainter>

#include "DGAMonitor/View/DGAStyle.h"

namespace {

constexpr int kInset = 3;  // room for the focus ring

}  // namespace

DGALinkButton::DGALinkButton(QWidget* parent) : QPushButton(parent) {
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    QFont font = DGAStyle::systemFont(DGAStyle::kFontSize);
    font.setUnderline(true);
    setFont(font);
}

QSize DGALinkButton::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()) + 2 * kInset, fontMetrics().height() + 2 * kInset};
}

void DGALinkButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(!isEnabled()   ? DGAStyle::kDisabledText
                   : underMouse() ? DGAStyle::kAccentHover
                                  : DGAStyle::kAccent);
    painter.drawText(rect().adjusted(kInset, 0, -kInset, 0), Qt::AlignVCenter | Qt::AlignLeading, text());
    if (hasFocus())
        DGAStyle::paintFocusRing(painter, rect());
}

void DGALinkButton::keyPressEvent(QKeyEvent* event) {
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !event->isAutoRepeat() &&
        (event->modifiers() & Qt::ControlModifier) == 0)
        click();
    else
        QPushButton::keyPressEvent(event);
}
