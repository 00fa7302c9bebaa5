#include "DGAUpload/ui/UploadView.h"

#include <QAccessible>
#include <QFontMetrics>
#include <QPainter>
#include <array>
#include <string>
#include <utility>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Utilities/DGAUtilities.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/View/DGAViewFrame.h"
#include "support/ORVNLogger.h"
#include "support/TextTemplate.h"
#include "support/widgets/LarimoNotificationView.h"
#include "ui_uploadView.h"

namespace {

constexpr int kStepFontSize = DGAStyle::kSmallFontSize;
constexpr int kSpinImageType = 7;
constexpr int kWarningStyle = 1;
constexpr int kExcessiveLabelHeight = 50;

QFont lucida(int size, bool bold) {
    QFont font = DGAStyle::systemFont(size, bold);
    font.setFamilies({QStringLiteral("Lucida Grande"), font.family()});
    return font;
}

QString filled(const char* key, const std::string& value) {
    return QString::fromStdString(support::fillPlaceholders(DGAUtilities::dga_localize(key), {value}));
}

}  // namespace

UploadView::UploadView(QWidget* parent) : QWidget(parent), ui_(std::make_unique<Ui::uploadView>()) {
    ui_->setupUi(this);
    awakeFromNib();
}

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
    startTimer(0);
    showCancelButton();
    UIlayout();
    // Nothing has the keyboard until the user asks for it: the Return that sent the report must not cancel it.
    setFocus();
}

void UploadView::initialTexts() {
    ui_->titleLabel->setFont(lucida(DGAStyle::kTitleFontSize, true));
    ui_->titleLabel->setText(dgaText(lDGARPWindowTitleStr));
    setText(*ui_->prepareLabel, dgaText(kTextPareparingReport));
    ui_->closeImage->setAccessibleName(dgaText(kTextCloseButtonSendReport));
    // Lines share their height with the wheel; where they take more than one, the wheel stays at the first.
    const int inset = qMax(0, (kLineHeight - QFontMetrics(m_stepLabelfont).height()) / 2);
    for (const Row& row : rows())
        row.label->setContentsMargins(0, inset, 0, inset);
}
