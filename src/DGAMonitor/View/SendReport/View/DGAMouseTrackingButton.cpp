#include "DGAMonitor/View/SendReport/View/DGAMouseTrackingButton.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QScreen>
#include <QScrollArea>
#include <algorithm>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/View/DGADesktopFrame.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/View/SendReport/View/DGASendReportInfoView.h"

namespace {

constexpr int kGap = 4;

}  // namespace

DGAMouseTrackingButton::DGAMouseTrackingButton(QWidget* parent) : DGAIconButton(parent) {
    initializeTraking();
}

DGAMouseTrackingButton::~DGAMouseTrackingButton() = default;

void DGAMouseTrackingButton::initializeTraking() {
    connect(this, &QAbstractButton::clicked, this, &DGAMouseTrackingButton::showPopover);
}

void DGAMouseTrackingButton::showPopover() {
    if (!popover_)
        popover_ = std::make_unique<DGASendReportInfoViewController>();
    QWidget& view = popover_->view(this);
    const QRect frame = placeOf(view.size());
    view.move(frame.topLeft());
    view.show();
}

// Above the button, and as high above it as it takes to cover no other one.
QRect DGAMouseTrackingButton::placeOf(QSize size) const {
    const QRect room = dgaWorkArea(*screen());
    QRect frame(mapToGlobal(QPoint(width() / 2 - size.width() / 2, 0)), size);
    frame.moveBottom(mapToGlobal(QPoint(0, -kGap)).y());
    frame.moveLeft(qBound(room.left(), frame.left(), qMax(room.left(), room.right() + 1 - frame.width())));
    QList<QAbstractButton*> others = window()->findChildren<QAbstractButton*>();
    std::sort(others.begin(), others.end(), [](const QWidget* one, const QWidget* other) {
        return one->mapToGlobal(QPoint()).y() > other->mapToGlobal(QPoint()).y();
    });
    for (const auto* const other : others) {
        const QRect place(other->mapToGlobal(QPoint()), other->size());
        if (other->isVisible() && !other->isAncestorOf(this) && frame.intersects(place))
            frame.moveBottom(place.top() - kGap);
    }
    frame.moveTop(qMax(frame.top(), room.top()));
    return frame;
}

void DGAMouseTrackingButton::closePopover() {
    if (popover_)
        popover_->view(this).hide();
}

void DGAMouseTrackingButton::enterEvent(QEnterEvent* event) {
    DGAIconButton::enterEvent(event);
    if (isActiveWindow())
        showPopover();
}

void DGAMouseTrackingButton::leaveEvent(QEvent* event) {
    DGAIconButton::leaveEvent(event);
    closePopover();
}

void DGAMouseTrackingButton::focusInEvent(QFocusEvent* event) {
    DGAIconButton::focusInEvent(event);
    if (event->reason() != Qt::TabFocusReason && event->reason() != Qt::BacktabFocusReason)
        return;
    // The toolkit scrolls only afterwards, and would leave the popover where this was.
    for (QWidget* part = parentWidget(); part; part = part->parentWidget()) {
        if (auto* const area = qobject_cast<QScrollArea*>(part))
            area->ensureWidgetVisible(this);
    }
    showPopover();
}

void DGAMouseTrackingButton::focusOutEvent(QFocusEvent* event) {
    DGAIconButton::focusOutEvent(event);
    closePopover();
}

void DGAMouseTrackingButton::keyPressEvent(QKeyEvent* event) {
    // The popover goes first, then the window.
    if (event->matches(QKeySequence::Cancel) && popover_ && popover_->view(this).isVisible())
        closePopover();
    else
        DGAIconButton::keyPressEvent(event);
}

// In the language of each opening.
void DGAMouseTrackingButton::showEvent(QShowEvent* event) {
    setAccessibleName(dgaText(lDGARPWindowInfoStr));
    popover_.reset();
    DGAIconButton::showEvent(event);
}

void DGAMouseTrackingButton::hideEvent(QHideEvent* event) {
    closePopover();
    DGAIconButton::hideEvent(event);
}
