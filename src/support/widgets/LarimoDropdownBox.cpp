#include "support/widgets/LarimoDropdownBox.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QProxyStyle>
#include <QStyledItemDelegate>
#include <QWheelEvent>

namespace {

constexpr int kArrowWidth = 10;
constexpr int kArrowHeight = 5;
constexpr int kGap = 8;
constexpr int kEntryHeight = 28;

/// Paints an entry: its text begins where the box's title does.
class MenuEntryDelegate final : public QStyledItemDelegate {
public:
    explicit MenuEntryDelegate(LarimoDropdownBox* box) : QStyledItemDelegate(box), box_(box) {}

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const QSize size = QStyledItemDelegate::sizeHint(option, index);
        return {size.width() + 2 * margin(), qMax(kEntryHeight, size.height() + kGap)};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const bool chosen = (option.state & QStyle::State_Selected) != 0;
        const QPalette& palette = option.palette;
        painter->fillRect(option.rect, chosen ? palette.highlight() : palette.base());
        painter->setPen(chosen ? palette.highlightedText().color() : palette.text().color());
        painter->setFont(option.font);
        const QRect room = option.rect.adjusted(margin() - 1, 0, -margin(), 0);
        painter->drawText(
            room, Qt::AlignVCenter | Qt::AlignLeading,
            option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, room.width()));
    }

private:
    int margin() const { return qMax(kGap, -box_->popUpPoint().x()); }

    LarimoDropdownBox* box_;
};

/// Tells the toolkit where the menu belongs, so that it is there before it shows: Wayland moves no popup.
class MenuStyle final : public QProxyStyle {
public:
    explicit MenuStyle(LarimoDropdownBox* box) : box_(box) { setParent(box); }

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override {
        // A list below the box, or above where there is no room; not one over it.
        return hint == SH_ComboBox_Popup ? 0 : QProxyStyle::styleHint(hint, option, widget, data);
    }

    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                         const QWidget* widget) const override {
        if (control != CC_ComboBox || part != SC_ComboBoxListBoxPopup)
            return QProxyStyle::subControlRect(control, option, part, widget);
        const int needed = box_->view()->sizeHintForColumn(0) + 2;
        return {box_->popUpPoint(), QSize(qMax(box_->menuWidth(), needed), box_->height())};
    }

private:
    LarimoDropdownBox* box_;
};

}  // namespace

LarimoDropdownBox::LarimoDropdownBox(QWidget* parent) : QComboBox(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setSizeAdjustPolicy(QComboBox::AdjustToContentsOnFirstShow);
    connect(this, &QComboBox::activated, this, &LarimoDropdownBox::choose);
}

void LarimoDropdownBox::setHasBorder(bool hasBorder) {
    hasBorder_ = hasBorder;
    update();
}

void LarimoDropdownBox::setTitle(const QString& title) {
    title_ = title;
    setToolTip(fontMetrics().horizontalAdvance(title) > width() - kArrowWidth - kGap ? title : QString());
    update();
}

void LarimoDropdownBox::removeAllItems() {
    clear();
}

void LarimoDropdownBox::addItem(const LarimoDropdownMenuitem& item) {
    QComboBox::addItem(item.title());
}

void LarimoDropdownBox::setSelectedIndex(int index) {
    setCurrentIndex(index < count() ? index : -1);
}

void LarimoDropdownBox::choose(int index) {
    setTitle(itemText(index));
    if (delegate_)
        delegate_->onSelectedIndexChanged(index);
}

void LarimoDropdownBox::showPopup() {
    if (!menuDelegate_) {
        setStyle(new MenuStyle(this));
        menuDelegate_ = new MenuEntryDelegate(this);
        setItemDelegate(menuDelegate_);
    }
    QComboBox::showPopup();
}

void LarimoDropdownBox::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (hasBorder_) {
        painter.setPen(hasFocus() ? QPen(palette().highlight(), 2) : QPen(palette().mid(), 1));
        painter.setBrush(palette().base());
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 4, 4);
    }
    const int margin = hasBorder_ ? kGap : 0;
    const auto group = isEnabled() ? QPalette::Active : QPalette::Disabled;
    const QRect content = rect().adjusted(margin, 0, -margin, 0);
    const bool leftToRight = layoutDirection() == Qt::LeftToRight;
    const QRect arrow(leftToRight ? content.right() + 1 - kArrowWidth : content.left(),
                      content.center().y() - kArrowHeight / 2, kArrowWidth, kArrowHeight);
    painter.setPen(
        QPen(palette().color(group, QPalette::Text), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(QPolygonF({QPointF(arrow.left() + 0.5, arrow.top()),
                                    QPointF(arrow.left() + kArrowWidth / 2.0, arrow.top() + kArrowHeight),
                                    QPointF(arrow.left() + kArrowWidth - 0.5, arrow.top())}));
    const int used = kArrowWidth + kGap;
    const QRect text = leftToRight ? content.adjusted(0, 0, -used, 0) : content.adjusted(used, 0, 0, 0);
    painter.drawText(text, Qt::AlignVCenter | (leftToRight ? Qt::AlignLeft : Qt::AlignRight),
                     fontMetrics().elidedText(title_, Qt::ElideRight, text.width()));
}

// A wheel that only scrolls past must not change what was chosen.
void LarimoDropdownBox::wheelEvent(QWheelEvent* event) {
    event->ignore();
}
