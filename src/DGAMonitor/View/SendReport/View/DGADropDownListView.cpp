#include "DGAMonitor/View/SendReport/View/DGADropDownListView.h"

#include <QEvent>
#include <QPainter>

#include "DGAMonitor/View/DGAStyle.h"

namespace {

constexpr int kBoxTag = 1000;
constexpr int kMargin = 16;
constexpr int kHeight = 32;
constexpr int kArrowRoom = 24;

}  // namespace

DGADropDownListView::DGADropDownListView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setFont(DGAStyle::systemFont(DGAStyle::kFontSize));
}

DGADropDownListView::~DGADropDownListView() {
    if (LarimoDropdownBox* const found = box())
        found->setDelegate(nullptr);
}

void DGADropDownListView::prepared() {
    initializeStyle();
    addComboBox();
}

void DGADropDownListView::initializeStyle() {
    update();
}

LarimoDropdownBox* DGADropDownListView::box() const {
    for (auto* const child : findChildren<LarimoDropdownBox*>(Qt::FindDirectChildrenOnly)) {
        if (child->tag() == kBoxTag)
            return child;
    }
    return nullptr;
}

void DGADropDownListView::setListTitleArr(const QStringList& titles) {
    listTitleArr_ = titles;
    // A choice is told by its index: menu and list must never differ.
    if (LarimoDropdownBox* const combo = box()) {
        fillMenu(*combo);
        combo->setSelectedIndex(static_cast<int>(listTitleArr_.indexOf(combo->title())));
    }
}

void DGADropDownListView::fillMenu(LarimoDropdownBox& combo) const {
    combo.removeAllItems();
    for (const QString& title : listTitleArr_)
        combo.addItem(LarimoDropdownMenuitem::normalItemWithTitle(title));
}

void DGADropDownListView::addComboBox() {
    LarimoDropdownBox* combo = box();
    if (!combo) {
        combo = new LarimoDropdownBox(this);
        combo->setTag(kBoxTag);
        combo->setDelegate(this);
        combo->setHasBorder(false);
        combo->setAccessibleName(accessibleName());
        // Where the toolkit tells the choice as the name, the question is still to be heard.
        combo->setAccessibleDescription(accessibleName());
        combo->setFont(font());
        combo->installEventFilter(this);
        setFocusProxy(combo);
        placeBox();
        combo->show();
    }
    combo->setTitle(defautTitle_);
    fillMenu(*combo);
    if (const auto last = listTitleArr_.lastIndexOf(defautTitle_); last >= 0)
        seletedIndex_ = static_cast<unsigned>(last);
    combo->setSelectedIndex(static_cast<int>(seletedIndex_));
    updateGeometry();
}

void DGADropDownListView::placeBox() {
    if (LarimoDropdownBox* const combo = box()) {
        combo->setGeometry(kMargin, 0, width() - 2 * kMargin, height());
        combo->setMenuWidth(width());
        combo->setPopUpPoint({-kMargin, 0});
    }
}

void DGADropDownListView::clearStatus() {
    onSelectedIndexChanged(0);
    if (LarimoDropdownBox* const combo = box()) {
        combo->setTitle(defautTitle_);
        combo->setSelectedIndex(static_cast<int>(listTitleArr_.indexOf(defautTitle_)));
    }
}

void DGADropDownListView::onSelectedIndexChanged(int index) {
    if (delegate_ && index >= 0 && index < listTitleArr_.size())
        delegate_->dropDownListDidSelect(*this, listTitleArr_.at(index));
}

void DGADropDownListView::refreshComboBoxWithIndex(int index) {
    addComboBox();
    onSelectedIndexChanged(index);
}

QSize DGADropDownListView::sizeHint() const {
    int widest = fontMetrics().horizontalAdvance(defautTitle_);
    for (const QString& title : listTitleArr_)
        widest = qMax(widest, fontMetrics().horizontalAdvance(title));
    return {widest + 2 * kMargin + kArrowRoom, qMax(kHeight, fontMetrics().height() + 12)};
}

void DGADropDownListView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(DGAStyle::kControlEdge, 1.0));
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), DGAStyle::kCornerRadius,
                            DGAStyle::kCornerRadius);
    if (const LarimoDropdownBox* const combo = box(); combo && combo->hasFocus())
        DGAStyle::paintFocusRing(painter, rect());
}

void DGADropDownListView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    placeBox();
}

bool DGADropDownListView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)
        update();
    return QWidget::eventFilter(watched, event);
}
