#include "DGAMonitor/View/DGAScrollArea.h"

#include <QEvent>
#include <QLayout>

namespace {

constexpr int kLeastHeight = 96;

}  // namespace

DGAScrollArea::DGAScrollArea(QLayout* contents, QWidget* parent) : QScrollArea(parent) {
    auto* const holder = new QWidget;
    holder->setLayout(contents);
    setWidget(holder);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // The keyboard goes to what is in it, and it follows.
    setFocusPolicy(Qt::NoFocus);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void DGAScrollArea::setHeightLimit(int limit) {
    if (limit == limit_)
        return;
    limit_ = limit;
    updateGeometry();
}

QSize DGAScrollArea::sizeHint() const {
    const int width = widget()->layout()->totalSizeHint().width();
    return {width, heightForWidth(width)};
}

QSize DGAScrollArea::minimumSizeHint() const {
    return {widget()->layout()->totalMinimumSize().width(), qMin(kLeastHeight, sizeHint().height())};
}

int DGAScrollArea::heightForWidth(int width) const {
    const QLayout& layout = *widget()->layout();
    const int wanted =
        layout.hasHeightForWidth() ? layout.totalHeightForWidth(width) : layout.totalSizeHint().height();
    return qMin(limit_, wanted);
}

bool DGAScrollArea::eventFilter(QObject* watched, QEvent* event) {
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    return QScrollArea::eventFilter(watched, event);
}
