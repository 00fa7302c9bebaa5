#include "DGAMonitor/View/SendReport/View/DGASendReportInfoView.h"

#include <QPainter>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAText.h"

namespace {

constexpr int kTextWidth = 276;
constexpr int kViewWidth = 300;
constexpr int kMargins = 24;
constexpr qreal kBackgroundAlpha = 0.8;

}  // namespace

void DGASendReportInfoBackgroundView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor::fromRgbF(0, 0, 0, kBackgroundAlpha));
    QWidget::paintEvent(event);
}

DGASendReportInfoView::DGASendReportInfoView(QWidget* parent) : QWidget(parent, Qt::ToolTip) {
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void DGASendReportInfoView::showEvent(QShowEvent* event) {
    viewDidMoveToWindow();
    QWidget::showEvent(event);
}

void DGASendReportInfoView::viewDidMoveToWindow() {
    if (background_)
        return;
    background_ = new DGASendReportInfoBackgroundView(this);
    background_->setGeometry(rect());
    background_->lower();
    background_->show();
}

void DGASendReportInfoView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (background_)
        background_->setGeometry(rect());
}

DGASendReportInfoView& DGASendReportInfoViewController::view(QWidget* owner) {
    if (!view_)
        loadView(owner);
    return *view_;
}

void DGASendReportInfoViewController::loadView(QWidget* owner) {
    const QString text = dgaText(lDGARPWindowInfoStr);
    view_ = new DGASendReportInfoView(owner);
    infoTF_ = new QLabel(text, view_);
    infoTF_->setTextFormat(Qt::PlainText);
    infoTF_->setWordWrap(true);
    infoTF_->setFont(DGAStyle::systemFont(DGAStyle::kSmallFontSize));
    QPalette palette = infoTF_->palette();
    palette.setColor(QPalette::WindowText, Qt::white);
    infoTF_->setPalette(palette);
    const int height = infoTF_->heightForWidth(kTextWidth);
    infoTF_->setGeometry((kViewWidth - kTextWidth) / 2, kMargins / 2, kTextWidth, height);
    view_->resize(kViewWidth, height + kMargins);
    view_->setAccessibleName(text);
}
