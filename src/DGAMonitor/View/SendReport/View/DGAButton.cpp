#include "DGAMonitor/View/SendReport/View/DGAButton.h"

#include <QKeyEvent>
#include <QPainter>

#include "DGAMonitor/View/DGAStyle.h"

namespace {

constexpr int kPrimary = 2;
constexpr int kHeight = 32;
constexpr int kLeastWidth = 73;
// Room around the outline for the focus ring of a primary button.
constexpr qreal kInset = 2;

struct Look {
    QColor fill;
    QColor edge;
    QColor text;
};

Look lookOf(const QPushButton& button, bool primary) {
    if (!button.isEnabled())
        return {DGAStyle::kDisabledFill, DGAStyle::kDisabledFill, DGAStyle::kDisabledText};
    if (primary) {
        const QColor fill = button.isDown()       ? DGAStyle::kAccentPressed
                            : button.underMouse() ? DGAStyle::kAccentHover
                                                  : DGAStyle::kAccent;
        return {fill, fill, Qt::white};
    }
    const QColor fill = button.isDown()       ? DGAStyle::kPressed
                        : button.underMouse() ? DGAStyle::kHover
                                              : DGAStyle::kWindow;
    return {fill, DGAStyle::kControlEdge, DGAStyle::kText};
}

}  // namespace

DGAButton::DGAButton(QWidget* parent) : QPushButton(parent) {
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
}

void DGAButton::setButtonType(int type) {
    type_ = type;
    update();
}

QSize DGAButton::sizeHint() const {
    const int text = fontMetrics().horizontalAdvance(this->text());
    return {qMax(kLeastWidth, text + 4 * DGAStyle::kGrid), qMax(kHeight, fontMetrics().height() + 12)};
}

void DGAButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Look look = lookOf(*this, type_ == kPrimary);
    const QRectF outline = QRectF(rect()).adjusted(kInset, kInset, -kInset, -kInset);
    painter.setPen(look.edge);
    painter.setBrush(look.fill);
    painter.drawRoundedRect(outline.adjusted(0.5, 0.5, -0.5, -0.5), DGAStyle::kCornerRadius,
                            DGAStyle::kCornerRadius);
    painter.setPen(look.text);
    painter.drawText(outline, Qt::AlignCenter, text());
    if (!hasFocus())
        return;
    DGAStyle::paintFocusRing(painter, rect(), DGAStyle::kCornerRadius + kInset);
    if (type_ == kPrimary) {
        // A gap, or the ring would be one with the fill.
        painter.setPen(QPen(Qt::white, 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(outline.adjusted(0.75, 0.75, -0.75, -0.75), DGAStyle::kCornerRadius,
                                DGAStyle::kCornerRadius);
    }
}

void DGAButton::keyPressEvent(QKeyEvent* event) {
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !event->isAutoRepeat() &&
        (event->modifiers() & Qt::ControlModifier) == 0)
        click();
    else
        QPushButton::keyPressEvent(event);
}
