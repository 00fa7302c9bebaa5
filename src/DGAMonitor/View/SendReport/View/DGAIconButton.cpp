#include "DGAMonitor/View/SendReport/View/DGAIconButton.h"

#include <QKeyEvent>
#include <QPainter>

#include "DGAMonitor/View/DGAStyle.h"
#include "support/widgets/WidgetIcon.h"

namespace {

constexpr qreal kCloseIconSize = 14;
constexpr qreal kIconSize = 18;
constexpr qreal kDisabledOpacity = 0.4;

}  // namespace

DGAIconButton::DGAIconButton(QWidget* parent) : QPushButton(parent) {
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void DGAIconButton::setIconName(const QString& name) {
    iconName_ = name;
    update();
}

void DGAIconButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isEnabled() && (isDown() || underMouse())) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(isDown() ? DGAStyle::kPressed : DGAStyle::kHover);
        painter.drawRoundedRect(rect(), DGAStyle::kCornerRadius, DGAStyle::kCornerRadius);
    }
    const qreal most = iconName_ == QLatin1String("close") ? kCloseIconSize : kIconSize;
    const qreal side = qMin(most, qreal(qMin(width(), height())));
    QRectF icon(0, 0, side, side);
    icon.moveCenter(QRectF(rect()).center());
    painter.setOpacity(isEnabled() ? 1.0 : kDisabledOpacity);
    WidgetIcon::paint(painter, icon, iconName_);
    painter.setOpacity(1.0);
    if (hasFocus())
        DGAStyle::paintFocusRing(painter, rect());
}

void DGAIconButton::keyPressEvent(QKeyEvent* event) {
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !event->isAutoRepeat() &&
        (event->modifiers() & Qt::ControlModifier) == 0)
        click();
    else
        QPushButton::keyPressEvent(event);
}
