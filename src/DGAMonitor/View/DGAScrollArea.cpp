#include "DGAMonitor/View/DGAScrollArea.h"

#include <QEvent>
#include <QLayout>

namespace {

constexpr int kLeastHeight = 96;

/// Its least height is what it needs at its width; that of its layout is for texts wrapped at any width.
class Holder final : public QWidget {
public:
    QSize minimumSizeHint() const override { return {QWidget::minimumSizeHint().width(), 0}; }
};

}  // namespace

DGAScrollArea::DGAScrollArea(QLayout* contents, QWidget* parent) : QScrollArea(parent) {
    auto* const holder = new Holder;
    holder->setLayout(contents);
    setWidget(holder);
    setWidgetResizable(true);
    // What lies below paints the ground.
    holder->setAutoFillBackground(false);
    viewport()->setAutoFillBackground(false);
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
    return qMin(limit_, wantedHeight(width));
}

int DGAScrollArea::wantedHeight(int width) const {
    const QLayout& layout = *widget()->layout();
    return layout.hasHeightForWidth() ? layout.totalHeightForWidth(width) : layout.totalSizeHint().height();
}

// Decided here: the toolkit goes by the width that a bar leaves, and so keeps one that was needed once.
void DGAScrollArea::judgeScrollBar() {
    setVerticalScrollBarPolicy(wantedHeight(width()) > height() ? Qt::ScrollBarAlwaysOn
                                                                : Qt::ScrollBarAlwaysOff);
}

void DGAScrollArea::resizeEvent(QResizeEvent* event) {
    judgeScrollBar();
    QScrollArea::resizeEvent(event);
}

bool DGAScrollArea::eventFilter(QObject* watched, QEvent* event) {
    if (watched == widget() && event->type() == QEvent::LayoutRequest) {
        judgeScrollBar();
        updateGeometry();
    }
    return QScrollArea::eventFilter(watched, event);
}
