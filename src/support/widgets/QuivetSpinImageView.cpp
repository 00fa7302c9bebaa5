#include "support/widgets/QuivetSpinImageView.h"

#include <QPainter>
#include <QTimerEvent>

#include "support/widgets/WidgetIcon.h"

namespace {

constexpr int kSpokes = 12;
constexpr int kStepMilliseconds = 100;

}  // namespace

QuivetSpinImageView::QuivetSpinImageView(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void QuivetSpinImageView::startSpin() {
    spinning_ = true;
    if (isVisible())
        timer_.start(kStepMilliseconds, Qt::CoarseTimer, this);
}

void QuivetSpinImageView::stopSpin() {
    spinning_ = false;
    timer_.stop();
}

void QuivetSpinImageView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (spinning_)
        timer_.start(kStepMilliseconds, Qt::CoarseTimer, this);
}

void QuivetSpinImageView::hideEvent(QHideEvent* event) {
    timer_.stop();
    QWidget::hideEvent(event);
}

void QuivetSpinImageView::timerEvent(QTimerEvent* event) {
    if (event->timerId() != timer_.timerId()) {
        QWidget::timerEvent(event);
        return;
    }
    step_ = (step_ + 1) % kSpokes;
    update();
}

void QuivetSpinImageView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const qreal side = qMin(width(), height());
    painter.translate(width() / 2.0, height() / 2.0);
    painter.rotate(360.0 / kSpokes * step_);
    WidgetIcon::paint(painter, QRectF(-side / 2, -side / 2, side, side), QStringLiteral("spinner"));
}
