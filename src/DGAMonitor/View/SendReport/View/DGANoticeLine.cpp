#include "DGAMonitor/View/SendReport/View/DGANoticeLine.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QRegularExpression>

#include "DGAMonitor/View/DGAAnnouncement.h"
#include "DGAMonitor/View/DGAForbidden.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/SendReport/View/DGAButton.h"

namespace {

// Labels break lines between words only: lets the paths and names of files break between their parts.
QString breakable(const QString& text) {
    static const QRegularExpression between(QStringLiteral("(?<=\\S[/_])(?=\\w)"));
    return QString(text).replace(between, QChar(0x200b));  // zero width space
}

}  // namespace

DGANoticeLine::DGANoticeLine(QWidget* parent)
    : QWidget(parent), label_(new QLabel(this)), announcement_(new DGAAnnouncement(this)), buttons_{} {
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(DGAStyle::kGrid + 4, DGAStyle::kGrid - 2, DGAStyle::kGrid - 2,
                            DGAStyle::kGrid - 2);
    row->setSpacing(4);
    label_->setWordWrap(true);
    label_->setTextFormat(Qt::PlainText);
    label_->setFont(DGAStyle::systemFont(DGAStyle::kFontSize));
    label_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    row->addWidget(label_, 1);
    for (size_t i = 0; i < buttons_.size(); ++i) {
        buttons_[i] = new DGAButton(this);
        row->addWidget(buttons_[i]);
        connect(buttons_[i], &QAbstractButton::clicked, this, [this, i] {
            // A copy, as it may say something else.
            if (const auto act = i < actions_.size() ? actions_[i].act : nullptr)
                act();
        });
    }
    hide();
}

void DGANoticeLine::say(const QString& text, const std::vector<Action>& actions) {
    actions_ = actions;
    label_->setText(breakable(text));
    label_->setAccessibleName(text);
    setAccessibleName(text);
    for (size_t i = 0; i < buttons_.size(); ++i) {
        buttons_[i]->setHidden(i >= actions_.size());
        if (i >= actions_.size())
            continue;
        dgaAllow(*buttons_[i]);
        buttons_[i]->setText(actions_[i].title);
        buttons_[i]->setToolTip(actions_[i].description);
        buttons_[i]->setAccessibleDescription(actions_[i].description);
        if (actions_[i].isForbidden)
            dgaForbid(*buttons_[i]);
    }
    show();
    announcement_->say(text);
}

void DGANoticeLine::clear() {
    actions_.clear();
    announcement_->setAccessibleName({});
    hide();
}

void DGANoticeLine::setActionsEnabled(bool enabled) {
    for (size_t i = 0; i < buttons_.size(); ++i)
        buttons_[i]->setEnabled(enabled && !(i < actions_.size() && actions_[i].isForbidden));
}

QString DGANoticeLine::text() const {
    return isHidden() ? QString() : label_->accessibleName();
}

void DGANoticeLine::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(DGAStyle::kControlEdge);
    painter.setBrush(DGAStyle::kHover);
    painter.drawRoundedRect(QRectF(contentsRect()).adjusted(0.5, 0.5, -0.5, -0.5), DGAStyle::kCornerRadius,
                            DGAStyle::kCornerRadius);
}
