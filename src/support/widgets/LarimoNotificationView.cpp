#include "support/widgets/LarimoNotificationView.h"

#include <QAccessibleWidget>
#include <QPainter>

#include "support/widgets/WidgetIcon.h"

namespace {

// A message that comes up by itself: a plain widget would count as a group of others.
QAccessibleInterface* makeAccessible(const QString& /*className*/, QObject* object) {
    auto* const view = qobject_cast<LarimoNotificationView*>(object);
    return view ? new QAccessibleWidget(view, QAccessible::AlertMessage) : nullptr;
}

constexpr int kWarning = 1;
constexpr int kMargin = 8;
constexpr int kIconSize = 16;
constexpr int kTextLeft = kMargin + kIconSize + kMargin;
constexpr int kFontSize = 12;
constexpr int kTextFlags = Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap;

}  // namespace

LarimoNotificationView::LarimoNotificationView(const QRect& frame, int style, const QString& message,
                                               QWidget* parent)
    : QWidget(parent), frameHeight_(frame.height()), style_(style), message_(message) {
    hide();
    QFont font = this->font();
    font.setPixelSize(kFontSize);
    setFont(font);
    QAccessible::installFactory(makeAccessible);  // once, however often
    setAccessibleName(message);
    setGeometry(frame.x(), frame.y(), frame.width(), heightForWidth(frame.width()));
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

QRect LarimoNotificationView::textRect(int width) const {
    const QRect room(0, 0, width - kTextLeft - kMargin, QWIDGETSIZE_MAX);
    return fontMetrics().boundingRect(room, kTextFlags, message_);
}

int LarimoNotificationView::heightForWidth(int width) const {
    return qMax(frameHeight_, textRect(width).height() + 2 * kMargin);
}

QSize LarimoNotificationView::sizeHint() const {
    return {width(), heightForWidth(width())};
}

void LarimoNotificationView::paintEvent(QPaintEvent* /*event*/) {
    const bool warning = style_ == kWarning;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QColor(warning ? "#e2a3a3" : "#a9c4e6"));
    painter.setBrush(QColor(warning ? "#fdf0f0" : "#eef4fc"));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);

    const int textHeight = textRect(width()).height();
    const int top = (height() - textHeight) / 2;
    const QRect icon(kMargin, (height() - kIconSize) / 2, kIconSize, kIconSize);
    WidgetIcon::paint(painter, icon, warning ? QStringLiteral("icn_error") : QStringLiteral("info_default"));
    painter.setPen(QColor("#1a1a1a"));
    painter.drawText(QRect(kTextLeft, top, width() - kTextLeft - kMargin, textHeight), kTextFlags, message_);
}
