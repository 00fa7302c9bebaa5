#include "DGAUpload/ui/UploadView.h"

#include <QAccessible>
#include <QFontMetrics>
#include <QPainter>
#include <string>
#include <utility>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"
#include "DGAMonitor/View/DGAForbidden.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/View/DGAViewFrame.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "support/ORVNLogger.h"
#include "support/TextTemplate.h"
#include "support/widgets/LarimoNotificationView.h"
#include "ui_uploadView.h"

namespace {

constexpr int kStepFontSize = DGAStyle::kSmallFontSize;
constexpr int kSpinImageType = 7;
constexpr int kPlainButton = 0;
constexpr int kPrimaryButton = 2;

// The design, in points from the top left.
constexpr int kMargin = 20;
constexpr int kTitleY = 16;
constexpr int kTitleWidth = 400;
constexpr int kTitleHeight = 52;
constexpr int kImageX = 24;
constexpr int kImageWidth = 16;
constexpr int kLabelX = 52;
constexpr int kLabelWidth = 364;
constexpr int kLineHeight = 24;
constexpr int kSpinnerOffset = 4;  // below the top of its line
constexpr int kExcessiveLabelHeight = 50;
constexpr int kGap = 7;
constexpr int kBannerWidth = 392;
constexpr int kBannerHeight = 51;
constexpr int kButtonY = 346;
constexpr int kButtonHeight = 32;
constexpr int kButtonRight = 420;
constexpr int kButtonGap = 8;
constexpr int kPlainButtonWidth = 73;
constexpr int kSaveButtonWidth = 109;
constexpr int kCloseSize = 14;

// Banners
constexpr int kWarningStyle = 1;
constexpr int32_t kWarningPrepare = 1;
constexpr int32_t kWarningConnect = 2;
constexpr int32_t kWarningUpload = 3;
constexpr int32_t kWarningOverhead = 4;
constexpr int32_t kWarningExcessive = 5;

int warningY(int32_t type) {
    switch (type) {
        case kWarningExcessive:
            return 166;
        case kWarningUpload:
        case kWarningOverhead:
            return 203;
        default:
            return 37 * type + 72;
    }
}

// The line below which the banner lies.
size_t warningRow(int32_t type) {
    switch (type) {
        case kWarningPrepare:
            return 1;
        case kWarningUpload:
        case kWarningOverhead:
            return 3;
        default:
            return 2;
    }
}

QFont lucida(int size, bool bold) {
    QFont font = DGAStyle::systemFont(size, bold);
    font.setFamilies(QStringList{QStringLiteral("Lucida Grande")} + font.families());
    return font;
}

QString filled(const char* key, const std::string& value) {
    return QString::fromStdString(support::fillPlaceholders(DGAUtilities::dga_localize(key), {value}));
}

// Labels break lines between words only: lets one that is longer than a line, such as an address, break
// anywhere.
QString breakable(const QString& text, const QFontMetrics& metrics) {
    QStringList words = text.split(QLatin1Char(' '));
    for (QString& word : words) {
        if (metrics.horizontalAdvance(word) > kLabelWidth)
            word = word.split(QString()).join(QChar(0x200b));  // zero width space
    }
    return words.join(QLatin1Char(' '));
}

}  // namespace

UploadView::UploadView(QWidget* parent) : QWidget(parent), ui_(std::make_unique<Ui::uploadView>()) {
    ui_->setupUi(this);
    awakeFromNib();
}

UploadView::~UploadView() = default;

void UploadView::awakeFromNib() {
    ORVN_LOG_METHOD();
    m_stepLabelfont = lucida(kStepFontSize, false);
    initialContentView();
}

void UploadView::initialContentView() {
    QPalette layer = palette();
    layer.setColor(backgroundRole(), QColor(0xff, 0x00, 0x00));
    setPalette(layer);
    setAutoFillBackground(true);

    ui_->spinImageView->setSpinImageType(kSpinImageType);
    ui_->closeImage->setIconName(QStringLiteral("close"));
    const auto connectButton = [this](QAbstractButton* button, void (UploadView::*action)()) {
        connect(button, &QAbstractButton::clicked, this, action);
    };
    connectButton(ui_->closeImage, &UploadView::closeBtnClicked);
    connectButton(ui_->saveButton, &UploadView::saveBtnClicked);
    connectButton(ui_->ok_Button, &UploadView::OKBtnClicked);
    connectButton(ui_->cancelButton, &UploadView::cancelBtnClicked);

    initialTexts();
    initialRows();
    startTimer(0);
    showCancelButton();
    UIlayout();
}

void UploadView::initialTexts() {
    ui_->titleLabel->setFont(lucida(DGAStyle::kTitleFontSize, true));
    ui_->titleLabel->setText(dgaText(lDGARPWindowTitleStr));
    setText(*ui_->prepareLabel, dgaText(kTextPareparingReport));
    ui_->closeImage->setAccessibleName(dgaText(kTextCloseButtonSendReport));
}

void UploadView::initialRows() {
    rows_ = {{
        {ui_->imageStep1, ui_->prepareLabel, 64, 72, kLineHeight, 109},
        {ui_->imageStep2, ui_->connectionLabel, 111, 109, kLineHeight, 146},
        {ui_->imageStep3, ui_->uploadingLabel, 146, 146, kLineHeight, 183},
        {ui_->imageStep4, ui_->emailSendLabel, 181, 183, 38, 239},
        {ui_->imageStep5, ui_->reportSendedLabel, 235, 239, kLineHeight, kButtonY},
    }};
}

// Layout

void UploadView::UIlayout() {
    const int titleHeight = qMax(kTitleHeight, ui_->titleLabel->heightForWidth(kTitleWidth));
    ui_->titleLabel->setGeometry(kMargin, kTitleY, kTitleWidth, titleHeight);
    int push = titleHeight - kTitleHeight;
    int bottom = 0;
    for (size_t number = 1; number <= rows_.size(); ++number) {
        push = layoutRow(number, push);
        const Row& row = rows_.at(number - 1);
        if (!row.label->isHidden())
            bottom = dga_y(*row.label) + dga_height(*row.label);
    }
    if (warnView_)
        bottom = qMax(bottom, dga_y(*warnView_) + dga_height(*warnView_));
    size_ = layoutButtons(bottom);
    updateGeometry();
}

// Returns by how much what lies below is pushed down.
int UploadView::layoutRow(size_t number, int push) {
    const Row& row = rows_.at(number - 1);
    const bool excessive = number == 2 && warningType_ == kWarningExcessive;
    const int height =
        qMax(excessive ? kExcessiveLabelHeight : row.labelHeight, row.label->heightForWidth(kLabelWidth));
    row.label->setGeometry(kLabelX, row.labelY + push, kLabelWidth, height);
    // The image has its place, and is in the middle of the text's first line.
    const int middle = row.labelY + kLineHeight / 2;
    row.image->setGeometry(kImageX, row.imageY + push, kImageWidth, 2 * (middle - row.imageY));
    if (number == spinnerRow_ && ui_->spinImageView)
        ui_->spinImageView->setGeometry(kImageX, row.labelY + kSpinnerOffset + push, kImageWidth,
                                        kImageWidth);
    if (warnView_ && number == warningRow(warningType_)) {
        const int bannerPush = push + qMax(0, row.labelY + height + kGap - warningY(warningType_));
        setDga_y(*warnView_, warningY(warningType_) + bannerPush);
    }
    return row.label->isHidden() ? push : push + qMax(0, row.labelY + height + kGap - row.below);
}

// They end at the same place in every language and lie below all else. Returns the size of the view.
QSize UploadView::layoutButtons(int contentBottom) {
    const int cancel = qMax(kPlainButtonWidth, ui_->cancelButton->sizeHint().width());
    const int okay = qMax(kPlainButtonWidth, ui_->ok_Button->sizeHint().width());
    const int save = qMax(kSaveButtonWidth, ui_->saveButton->sizeHint().width());
    const int right = qMax(kButtonRight, kMargin + save + kButtonGap + cancel);
    const int y = qMax(kButtonY, contentBottom + kMargin);
    ui_->cancelButton->setGeometry(right - cancel, y, cancel, kButtonHeight);
    ui_->ok_Button->setGeometry(right - okay, y, okay, kButtonHeight);
    ui_->saveButton->setGeometry(right - cancel - kButtonGap - save, y, save, kButtonHeight);
    const int width = right + kMargin;
    ui_->closeImage->setGeometry(width - kMargin - kCloseSize, kMargin, kCloseSize, kCloseSize);
    return {width, y + kButtonHeight + kMargin};
}

void UploadView::redraw() {
    UIlayout();
    update();
}

// No button has the keyboard until there is a result or the user asks for it: a Return too many, after the
// one that sent the report, must not cancel it.
void UploadView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!isAncestorOf(window()->focusWidget()))
        setFocus();
}

void UploadView::paintEvent(QPaintEvent* /*event*/) {
    QPainter(this).fillRect(rect(), DGAStyle::kWindow);
}

// Steps

void UploadView::showReportPreparedStep(bool succeeded) {
    ORVN_LOG_METHOD();
    if (succeeded) {
        setText(*ui_->prepareLabel, dgaText(kTextReportPareparedSendReport));
        ui_->imageStep1->show();
        setText(*ui_->connectionLabel, dgaText(kTextConnectingToServer));
        ui_->connectionLabel->show();
        spinnerRow_ = 2;
    } else {
        setText(*ui_->prepareLabel, dgaText(kTextReportPareparedFailed));
        showError(*ui_->imageStep1);
        ui_->connectionLabel->hide();  // the banner takes its place
        showWarningInfo(kWarningPrepare);
        stopSpinner();
    }
    redraw();
}

void UploadView::showReportFailed() {
    ORVN_LOG_METHOD();
    setText(*ui_->prepareLabel, dgaText(kTextReportPareparedFailed));
    showError(*ui_->imageStep1);
    saveTrace("client upload failed");
    showSaveReportButton();
    dgaAllow(*ui_->saveButton);
    ui_->saveButton->setText(dgaText(kTextTryAgain));
    stopSpinner();
    redraw();
}

void UploadView::showConnectServerStep(bool succeeded) {
    ORVN_LOG_METHOD();
    if (succeeded) {
        setText(*ui_->connectionLabel, dgaText(kTextConnectedToServer));
        ui_->imageStep2->show();
        // As it stands, with its placeholder, until the first progress.
        setText(*ui_->uploadingLabel, dgaText(kTextUploadingReport));
        ui_->uploadingLabel->show();
        spinnerRow_ = 3;
    } else {
        setText(*ui_->connectionLabel, dgaText(kTextCannotConnectToServer));
        showError(*ui_->imageStep2);
        showWarningInfo(kWarningConnect);
        stopSpinner();
    }
    redraw();
}

void UploadView::tellWhyNotConnected(const char* text) {
    setText(*ui_->connectionLabel, dgaText(text));
}

void UploadView::showUploadingToServerStep(bool succeeded) {
    ORVN_LOG_METHOD();
    showUploadingStep(succeeded, kTextSentToServerTimeOut, kWarningUpload);
}

void UploadView::showOverheadStep(bool succeeded) {
    ORVN_LOG_METHOD();
    showUploadingStep(succeeded, kTextCannotSend3Times, kWarningOverhead);
}

void UploadView::showUploadingStep(bool succeeded, const char* failure, int32_t warning) {
    if (succeeded) {
        showUploading_presentage(0);
    } else {
        setText(*ui_->uploadingLabel, dgaText(failure));
        showError(*ui_->imageStep3);
        showWarningInfo(warning);
        stopSpinner();
    }
    redraw();
}

void UploadView::showSizeExcessiveStep(bool succeeded) {
    ORVN_LOG_METHOD();
    if (succeeded) {
        showUploading_presentage(0);
    } else {
        setText(*ui_->connectionLabel, dgaText(kTextFileSizeExcessiveAlert));
        showError(*ui_->imageStep2);
        showWarningInfo(kWarningExcessive);
        stopSpinner();
    }
    redraw();
}

void UploadView::showUploading_presentage(uint32_t percent) {
    ORVN_LOG_METHOD();
    setText(*ui_->uploadingLabel, filled(kTextUploadingReport, std::to_string(percent)));
}

void UploadView::showEmailSend_FinishStep(const std::string& emailAddress) {
    ORVN_LOG_METHOD();
    setText(*ui_->uploadingLabel, dgaText(kTextUploadingSent));
    stopSpinner();
    ui_->imageStep3->show();
    ui_->imageStep4->show();
    ui_->emailSendLabel->show();
    const bool hasAddress = !emailAddress.empty();
    if (hasAddress) {
        saveTrace("client upload success");
        setText(*ui_->emailSendLabel, filled(kTextEmailConfirmationSendReport, emailAddress));
        setText(*ui_->reportSendedLabel, dgaText(kTextReportSendSentReport));
    } else {
        setText(*ui_->emailSendLabel, dgaText(kTextReportSendSentReport));
    }
    ui_->imageStep5->setVisible(hasAddress);
    ui_->reportSendedLabel->setVisible(hasAddress);
    showOkayButton();
    redraw();
}

void UploadView::showWarningInfo(int32_t type) {
    ORVN_LOG_METHOD();
    saveTrace("client upload failed");
    warningType_ = type;
    delete warnView_;
    warnView_ = new LarimoNotificationView(
        QRect(kMargin, warningY(type), kBannerWidth, kBannerHeight), kWarningStyle,
        dgaText(type == kWarningExcessive ? kTextFileSizeExcessiveInfo : kTextWarningMessageSendReport),
        this);
    warnView_->show();
    QAccessibleEvent alert(warnView_, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
    showSaveReportButton();
    redraw();
}

// Buttons

void UploadView::showSaveReportButton() {
    ui_->saveButton->setButtonType(kPrimaryButton);
    ui_->saveButton->setText(dgaText(kTextSaveReportButtonSendReport));
    ui_->saveButton->show();
    dgaAllow(*ui_->saveButton);
    ui_->saveButton->setFocus();
    if (!savingAllowed_)
        dgaForbid(*ui_->saveButton);
}

void UploadView::showCancelButton() {
    ui_->cancelButton->setButtonType(kPlainButton);
    ui_->cancelButton->setText(dgaText(lDGACancelStr));
    ui_->cancelButton->setEnabled(true);
    ui_->ok_Button->hide();
}

void UploadView::showOkayButton() {
    ui_->ok_Button->setButtonType(kPrimaryButton);
    ui_->ok_Button->setText(dgaText(lDGAOKStr));
    ui_->ok_Button->setEnabled(true);
    ui_->ok_Button->show();
    ui_->cancelButton->hide();
    ui_->ok_Button->setFocus();
}

void UploadView::tell(void (UploadViewDelegate::*what)()) {
    if (const auto delegate = delegate_.lock())
        (*delegate.*what)();
}

// Parts

void UploadView::startTimer(double /*interval*/) {
    if (ui_->spinImageView)
        ui_->spinImageView->startSpin();
}

void UploadView::stopTimer() {
    if (ui_->spinImageView)
        ui_->spinImageView->stopSpin();
}

void UploadView::releaseImg() {
    delete std::exchange(ui_->spinImageView, nullptr);
}

void UploadView::stopSpinner() {
    stopTimer();
    releaseImg();
}

void UploadView::setText(QLabel& label, const QString& text) {
    label.setFont(m_stepLabelfont);
    // Its first line is level with its image and with the wheel; other scripts have higher lines.
    const QRect line = QFontMetrics(m_stepLabelfont).boundingRect({0, 0, QWIDGETSIZE_MAX, 0}, 0, text);
    const int inset = qMax(0, (kLineHeight - line.height()) / 2);
    label.setContentsMargins(0, inset, 0, inset);
    label.setText(breakable(text, QFontMetrics(m_stepLabelfont)));
    label.setAccessibleName(text);
}

void UploadView::showError(DGAImageView& image) {
    image.setImageName(QStringLiteral("icn_error"));
    image.show();
}

void UploadView::saveTrace(const char* basicInfo) {
    DGAApplicationWindows::sharedWindows().services().saveTraceRecord(
        {.moduleType = DGATraceModule::session, .basicInfo = basicInfo});
}
