#include "DGAUpload/ui/UploadView.h"

#include <QAccessible>
#include <QClipboard>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QPointer>
#include <chrono>
#include <initializer_list>
#include <string>
#include <utility>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/View/DGAForbidden.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAUpload/ui/UploadTexts.h"
#include "platform/RunLoop.h"
#include "support/ORVNLogger.h"
#include "support/widgets/LarimoNotificationView.h"
#include "ui_uploadView.h"

namespace {

constexpr int kStepFontSize = DGAStyle::kSmallFontSize;
constexpr int kSpinImageType = 7;
constexpr int kPlainButton = 0;
constexpr int kPrimaryButton = 2;
constexpr int kLineHeight = 24;
constexpr int kSpinnerSize = 16;
constexpr int kLeastHeight = 288;
constexpr std::chrono::seconds kCopiedFor{2};

// Banners
constexpr int kNoticeStyle = 0;
constexpr int kWarningStyle = 1;
constexpr int kBannerWidth = 392;
constexpr int kBannerHeight = 51;
constexpr int32_t kWarningPrepare = 1;
constexpr int32_t kWarningConnect = 2;
constexpr int32_t kWarningUpload = 3;
constexpr int32_t kWarningOverhead = 4;
constexpr int32_t kWarningExcessive = 5;

// The line below which the banner lies, counted from 0.
size_t warningRow(int32_t type) {
    switch (type) {
        case kWarningPrepare:
            return 0;
        case kWarningUpload:
        case kWarningOverhead:
            return 2;
        default:
            return 1;
    }
}

}  // namespace

UploadView::UploadView(QWidget* parent) : QWidget(parent), ui_(std::make_unique<Ui::uploadView>()) {
    ui_->setupUi(this);
    awakeFromNib();
}

UploadView::~UploadView() = default;

void UploadView::awakeFromNib() {
    ORVN_LOG_METHOD();
    m_stepLabelfont = uploadFont(kStepFontSize, false);
    initialContentView();
}

void UploadView::initialContentView() {
    setMinimumHeight(kLeastHeight);  // the window does not grow with each step
    ui_->spinImageView->setSpinImageType(kSpinImageType);
    ui_->spinImageView->setFixedSize(kSpinnerSize, kLineHeight);
    ui_->closeImage->setIconName(QStringLiteral("close"));
    const auto connectButton = [this](QAbstractButton* button, void (UploadView::*action)()) {
        connect(button, &QAbstractButton::clicked, this, action);
    };
    connectButton(ui_->closeImage, &UploadView::closeBtnClicked);
    connectButton(ui_->againButton, &UploadView::tryAgainBtnClicked);
    connectButton(ui_->saveButton, &UploadView::saveBtnClicked);
    connectButton(ui_->folderButton, &UploadView::folderBtnClicked);
    connectButton(ui_->copyButton, &UploadView::copyNumber);
    connectButton(ui_->ok_Button, &UploadView::OKBtnClicked);
    connectButton(ui_->cancelButton, &UploadView::cancelBtnClicked);

    rows_ = {{
        {ui_->row1, ui_->imageStep1, ui_->prepareLabel},
        {ui_->row2, ui_->imageStep2, ui_->connectionLabel},
        {ui_->row3, ui_->imageStep3, ui_->uploadingLabel},
        {ui_->row4, ui_->imageStep4, ui_->emailSendLabel},
        {ui_->row5, ui_->imageStep5, ui_->reportSendedLabel},
    }};
    initialTexts();
    beginAgain();
}

void UploadView::initialTexts() {
    ui_->titleLabel->setFont(uploadFont(DGAStyle::kTitleFontSize, true));
    ui_->titleLabel->setText(dgaText(lDGARPWindowTitleStr));
    ui_->closeImage->setAccessibleName(dgaText(kTextCloseButtonSendReport));
    ui_->againButton->setText(dgaText(kTextTryAgain));
    ui_->folderButton->setText(dgaText(kTextShowInFolder));
    ui_->copyButton->setText(dgaText(kTextCopy));
    for (QLabel* const label : {ui_->progressLabel, ui_->numberLabel})
        label->setFont(m_stepLabelfont);
}

void UploadView::beginAgain() {
    delete std::exchange(warnView_, nullptr);
    for (const Row& row : rows_) {
        row.image->hide();
        row.image->setImageName(QStringLiteral("done"));
        row.label->setVisible(row.label == ui_->prepareLabel);
    }
    for (QWidget* const part : std::initializer_list<QWidget*>{
             ui_->progressBar, ui_->progressLabel, ui_->numberLabel, ui_->copyButton, ui_->againButton,
             ui_->saveButton, ui_->folderButton})
        part->hide();
    ui_->progressBar->setValue(0);
    setText(*ui_->prepareLabel, dgaText(kTextPareparingReport));
    moveSpinner(0);
    startTimer(0);
    showCancelButton();
    setFocus();
}

QWidget& UploadView::title() {
    return *ui_->titleLabel;
}

QWidget& UploadView::closeButton() {
    return *ui_->closeImage;
}

QBoxLayout& UploadView::steps() {
    return *ui_->stepLayout;
}

void UploadView::moveSpinner(size_t row) {
    rows_.at(row).layout->insertWidget(0, ui_->spinImageView, 0, Qt::AlignTop);
    ui_->spinImageView->show();
}

// No button has the keyboard until there is a result or the user asks for it: a Return too many, after the
// one that sent the report, must not cancel it.
void UploadView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!isAncestorOf(window()->focusWidget()))
        setFocus();
}

// Steps

void UploadView::showReportPreparedStep(bool succeeded) {
    ORVN_LOG_METHOD();
    if (succeeded) {
        QString prepared = dgaText(kTextReportPareparedSendReport);
        if (lacksPicture_)
            prepared += QLatin1Char('\n') + dgaText(kTextNoScreenCapture);
        setText(*ui_->prepareLabel, prepared);
        ui_->imageStep1->show();
        ui_->connectionLabel->show();
        setText(*ui_->connectionLabel, dgaText(kTextConnectingToServer));
        moveSpinner(1);
    } else {
        setText(*ui_->prepareLabel, dgaText(kTextReportPareparedFailed));
        showError(0);
        ui_->connectionLabel->hide();  // the banner takes its place
        showWarningInfo(kWarningPrepare);
        stopSpinner();
    }
}

void UploadView::showReportFailed() {
    ORVN_LOG_METHOD();
    setText(*ui_->prepareLabel, dgaText(kTextReportPareparedFailed));
    showError(0);
    ui_->connectionLabel->hide();
    saveTrace("client upload failed");
    stopSpinner();
    showTryAgainButton();
}

void UploadView::showConnectServerStep(bool succeeded) {
    ORVN_LOG_METHOD();
    if (succeeded) {
        setText(*ui_->connectionLabel, dgaText(kTextConnectedToServer));
        ui_->imageStep2->show();
        ui_->uploadingLabel->show();
        ui_->progressBar->show();
        showUploading_presentage(0);
        moveSpinner(2);
    } else {
        setText(*ui_->connectionLabel, dgaText(kTextCannotConnectToServer));
        showError(1);
        showWarningInfo(kWarningConnect);
        stopSpinner();
    }
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
        showError(2);
        showWarningInfo(warning);
        stopSpinner();
    }
}

void UploadView::showSizeExcessiveStep(bool succeeded) {
    ORVN_LOG_METHOD();
    if (succeeded) {
        showUploading_presentage(0);
    } else {
        setText(*ui_->connectionLabel, dgaText(kTextFileSizeExcessiveAlert));
        showError(1);
        showWarningInfo(kWarningExcessive);
        stopSpinner();
    }
}

void UploadView::showUploading_presentage(uint32_t percent) {
    ORVN_LOG_METHOD();
    setText(*ui_->uploadingLabel, uploadText(kTextUploadingReport, {std::to_string(percent)}));
    ui_->progressBar->setValue(static_cast<int>(percent));
    ui_->progressBar->setAccessibleName(ui_->uploadingLabel->text());
}

void UploadView::showTransferred(int64_t sent, int64_t total, int64_t secondsLeft) {
    ui_->progressLabel->setText(uploadTransferText(sent, total, secondsLeft));
    ui_->progressLabel->show();
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
        setText(*ui_->emailSendLabel, uploadText(kTextEmailConfirmationSendReport, {emailAddress}));
        setText(*ui_->reportSendedLabel, dgaText(kTextReportSendSentReport));
    } else {
        setText(*ui_->emailSendLabel, dgaText(kTextReportSendSentReport));
    }
    ui_->imageStep5->setVisible(hasAddress);
    ui_->reportSendedLabel->setVisible(hasAddress);
    ui_->announcement->say(dgaText(kTextReportSendSentReport));
    showResult();
    showOkayButton();
}

void UploadView::showWarningInfo(int32_t type) {
    ORVN_LOG_METHOD();
    saveTrace("client upload failed");
    const bool isExcessive = type == kWarningExcessive;
    showBanner(kWarningStyle,
               dgaText(isExcessive ? kTextFileSizeExcessiveInfo : kTextWarningMessageSendReport),
               warningRow(type));
    showResult();
    showSaveReportButton();
    // It would be too large again.
    if (!isExcessive)
        showTryAgainButton();
}

void UploadView::showBanner(int style, const QString& text, size_t row) {
    delete warnView_;
    warnView_ = new LarimoNotificationView(QRect(0, 0, kBannerWidth, kBannerHeight), style, text,
                                           rows_.at(row).label->parentWidget());
    steps().insertWidget(steps().indexOf(rows_.at(row).layout) + 1, warnView_);
    warnView_->show();
    QAccessibleEvent alert(warnView_, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

// The report has a number as soon as there is an archive.
void UploadView::showResult() {
    ui_->progressBar->hide();
    ui_->progressLabel->hide();
    ui_->numberLabel->setText(
        uploadBreakable(uploadText(kTextReportNumber, {number_}), ui_->numberLabel->fontMetrics()));
    ui_->numberLabel->setAccessibleName(ui_->numberLabel->text());
    ui_->numberLabel->setVisible(!number_.empty());
    ui_->copyButton->setVisible(!number_.empty());
}

void UploadView::copyNumber() {
    QGuiApplication::clipboard()->setText(QString::fromStdString(number_));
    ui_->copyButton->setText(dgaText(kTextCopied));
    ui_->announcement->say(dgaText(kTextCopied));
    platform::performOnMainAfter(kCopiedFor, [view = QPointer(this)] {
        if (view)
            view->ui_->copyButton->setText(dgaText(kTextCopy));
    });
}

void UploadView::showSaved(const std::string& path) {
    const size_t row = ui_->uploadingLabel->isHidden() ? ui_->connectionLabel->isHidden() ? 0 : 1 : 2;
    showBanner(kNoticeStyle, uploadText(kTextReportSaved, {path}), row);
    ui_->againButton->hide();
    ui_->saveButton->hide();
    ui_->folderButton->setButtonType(kPlainButton);
    ui_->folderButton->show();
    showOkayButton();
}

void UploadView::showTryAgainButton() {
    ui_->saveButton->setButtonType(kPlainButton);
    ui_->againButton->setButtonType(kPrimaryButton);
    ui_->againButton->show();
    ui_->againButton->setFocus();
}

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
    ui_->cancelButton->show();
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

void UploadView::startTimer(double /*interval*/) {
    ui_->spinImageView->startSpin();
}

void UploadView::stopTimer() {
    ui_->spinImageView->stopSpin();
}

void UploadView::releaseImg() {
    ui_->spinImageView->hide();
}

void UploadView::stopSpinner() {
    stopTimer();
    releaseImg();
}

void UploadView::setText(QLabel& label, const QString& text) {
    label.setFont(m_stepLabelfont);
    // Its first line is level with its image and with the wheel; other scripts have higher lines.
    const QRect line =
        QFontMetrics(m_stepLabelfont).boundingRect({0, 0, QWIDGETSIZE_MAX, 0}, Qt::TextSingleLine, text);
    const int inset = qMax(0, (kLineHeight - line.height()) / 2);
    label.setContentsMargins(0, inset, 0, inset);
    label.setText(uploadBreakable(text, QFontMetrics(m_stepLabelfont)));
    label.setAccessibleName(text);
    // Not each percent.
    if (&label != ui_->uploadingLabel || ui_->progressBar->value() == 0)
        ui_->announcement->say(text);
}

void UploadView::showError(size_t row) {
    rows_.at(row).image->setImageName(QStringLiteral("icn_error"));
    rows_.at(row).image->show();
}

void UploadView::saveTrace(const char* basicInfo) {
    DGAApplicationWindows::sharedWindows().services().saveTraceRecord(
        {.moduleType = DGATraceModule::session, .basicInfo = basicInfo});
}
