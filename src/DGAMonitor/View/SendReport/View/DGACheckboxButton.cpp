#include "DGAMonitor/View/SendReport/View/DGACheckboxButton.h"

#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QStyle>

#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/SendReport/View/DGAImageView.h"
#include "DGAMonitor/View/SendReport/View/DGAMouseTrackingButton.h"

namespace {

constexpr int kImageSize = 18;
constexpr int kGap = 6;
constexpr int kInfoSize = 18;
constexpr int kTitleLeft = kImageSize + kGap;
constexpr int kTextFlags = Qt::AlignLeading | Qt::AlignTop | Qt::TextWordWrap;  // as the label wraps

int titleLimit(int width) {
    return qMax(0, width - kImageSize - 2 * kGap - kInfoSize);
}

// Replaces one part of the checkbox; the one before ends.
template <typename Part>
void replacePart(Part*& part, Part* other, QWidget* owner) {
    if (part == other)
        return;
    delete part;
    part = other;
    if (part)
        part->setParent(owner);
}

}  // namespace

DGACheckboxButton::DGACheckboxButton(QWidget* parent) : QCheckBox(parent) {
    setFocusPolicy(Qt::StrongFocus);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setFont(DGAStyle::systemFont(DGAStyle::kFontSize));
    connect(this, &QCheckBox::toggled, this, &DGACheckboxButton::updateUI);
}

void DGACheckboxButton::prepared() {
    layoutDGACheckboxButtonUI();
}

void DGACheckboxButton::layoutDGACheckboxButtonUI() {
    imageV()->show();
    titleLab()->show();
    infoBtn();
    updateUI();
}

void DGACheckboxButton::setSelected(bool selected) {
    setChecked(selected);
    updateUI();
}

DGAImageView* DGACheckboxButton::imageV() {
    if (!imageV_) {
        imageV_ = new DGAImageView(this);
        imageV_->setGeometry(0, 0, kImageSize, kImageSize);
        imageV_->setImageName(iconName_);
    }
    return imageV_;
}

void DGACheckboxButton::setImageV(DGAImageView* view) {
    replacePart(imageV_, view, this);
}

QLabel* DGACheckboxButton::titleLab() {
    if (!titleLab_) {
        titleLab_ = new QLabel(title_, this);
        titleLab_->setTextFormat(Qt::PlainText);
        titleLab_->setWordWrap(true);
        titleLab_->setFont(font());
        titleLab_->setAttribute(Qt::WA_TransparentForMouseEvents);
        reloadTitleLabelPosition();
    }
    return titleLab_;
}

void DGACheckboxButton::setTitleLab(QLabel* label) {
    replacePart(titleLab_, label, this);
}

DGAMouseTrackingButton* DGACheckboxButton::infoBtn() {
    if (!infoBtn_) {
        infoBtn_ = new DGAMouseTrackingButton(this);
        infoBtn_->setIconName(QStringLiteral("info_default.tiff"));
        infoBtn_->resize(kInfoSize, kInfoSize);
        reloadTitleLabelPosition();
    }
    return infoBtn_;
}

void DGACheckboxButton::setInfoBtn(DGAMouseTrackingButton* button) {
    replacePart(infoBtn_, button, this);
}

void DGACheckboxButton::updateUI() {
    const QString& text = isChecked() ? selectedTitle_ : title_;
    imageV()->setImageName(isChecked() ? selectedIconName_ : iconName_);
    titleLab()->setText(text);
    setAccessibleName(text);
    reloadTitleLabelPosition();
    updateGeometry();
}

QSize DGACheckboxButton::titleSize(int limit) const {
    const QString& text = isChecked() ? selectedTitle_ : title_;
    if (measured_.text != text || measured_.font != font())
        measured_ = {text, font(), {}};
    if (const auto known = measured_.sizes.constFind(limit); known != measured_.sizes.constEnd())
        return *known;
    const QFontMetrics metrics = fontMetrics();
    const int width = qMin(limit, metrics.horizontalAdvance(text) + 1);
    // Measured also where it is one line: a character of another font may be higher than this font.
    const QRect room(0, 0, width, QWIDGETSIZE_MAX);
    const QSize size{width, qMax(kImageSize, metrics.boundingRect(room, kTextFlags, text).height())};
    measured_.sizes.insert(limit, size);
    return size;
}

void DGACheckboxButton::reloadTitleLabelPosition() {
    if (!titleLab_)
        return;
    const int limit = titleLimit(width());
    QSize size = titleSize(limit);
    if (size.width() == limit)
        size.setHeight(qMax(kImageSize, height()));
    const auto place = [this](QWidget* part, const QRect& frame) {
        part->setGeometry(QStyle::visualRect(layoutDirection(), rect(), frame));
    };
    // Level with the first line, which is higher than the image in some scripts.
    const int top = (titleSize(QWIDGETSIZE_MAX).height() - kImageSize) / 2;
    if (imageV_)
        place(imageV_, {0, top, kImageSize, kImageSize});
    const QRect label(QPoint(kTitleLeft, 0), size);
    place(titleLab_, label);
    titleLab_->setAlignment(Qt::AlignLeading |
                            (size.height() > 2 * kImageSize ? Qt::AlignTop : Qt::AlignVCenter));
    if (infoBtn_)
        place(infoBtn_, {label.right() + 1 + kGap, top, kInfoSize, kInfoSize});
}

QSize DGACheckboxButton::sizeHint() const {
    const QSize text = titleSize(QWIDGETSIZE_MAX);
    return {kTitleLeft + text.width() + kGap + kInfoSize, minimumSizeHint().height()};
}

QSize DGACheckboxButton::minimumSizeHint() const {
    // Once it has its width, its height follows from it.
    const int known = testAttribute(Qt::WA_Resized) ? width() : QWIDGETSIZE_MAX;
    return {kTitleLeft + kInfoSize + kGap, heightForWidth(known)};
}

int DGACheckboxButton::heightForWidth(int width) const {
    return titleSize(titleLimit(width)).height();
}

void DGACheckboxButton::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        setSelected(!selected());
    else
        event->ignore();
}

// It has toggled when the button went down.
void DGACheckboxButton::mouseReleaseEvent(QMouseEvent* /*event*/) {}

void DGACheckboxButton::mouseMoveEvent(QMouseEvent* /*event*/) {}

void DGACheckboxButton::paintEvent(QPaintEvent* /*event*/) {
    if (!hasFocus() || !titleLab_)
        return;
    QPainter painter(this);
    DGAStyle::paintFocusRing(painter, QRectF(titleLab_->geometry()).adjusted(-4, 0, 4, 0));
}

void DGACheckboxButton::resizeEvent(QResizeEvent* event) {
    QCheckBox::resizeEvent(event);
    reloadTitleLabelPosition();
    if (event->oldSize().width() != width())
        updateGeometry();
}
