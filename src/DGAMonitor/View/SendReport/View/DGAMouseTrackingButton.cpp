#include "DGAMonitor/View/SendReport/View/DGAMouseTrackingButton.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QScreen>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
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
    setAccessibleName(dgaText(lDGARPWindowInfoStr));
    connect(this, &QAbstractButton::clicked, this, &DGAMouseTrackingButton::showPopover);
}

void DGAMouseTrackingButton::showPopover() {
    if (!popover_)
        popover_ = std::make_unique<DGASendReportInfoViewController>();
    QWidget& view = popover_->view(this);
    QRect frame(mapToGlobal(QPoint(width() / 2 - view.width() / 2, height() + kGap)), view.size());
    const QRect room = screen()->availableGeometry();
    if (frame.bottom() > room.bottom())
        frame.moveBottom(mapToGlobal(QPoint(0, -kGap)).y());
    frame.moveLeft(qBound(room.left(), frame.left(), qMax(room.left(), room.right() + 1 - frame.width())));
    view.move(frame.topLeft());
    view.show();
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
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason)
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

void DGAMouseTrackingButton::hideEvent(QHideEvent* event) {
    closePopover();
    DGAIconButton::hideEvent(event);
}
