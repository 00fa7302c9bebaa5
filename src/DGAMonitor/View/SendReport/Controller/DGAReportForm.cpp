#include "DGAMonitor/View/SendReport/Controller/DGAReportForm.h"

#include <QLabel>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Session/DGAPolicy.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/View/DGAForbidden.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/View/SendReport/View/DGAMouseTrackingButton.h"
#include "support/TextTemplate.h"
#include "ui_DGAProblemReportingWindowController.h"

namespace {

constexpr int kLongestDescription = 10000;  // characters
constexpr int kCounterAppears = 500;        // when so many are left
constexpr int kKeptGap = 12;                // below the line about a kept report
constexpr int kPlainButton = 0;
constexpr int kPrimaryButton = 2;

void labelCheckbox(DGACheckboxButton& button, const char* title) {
    button.setTitle(dgaText(title));
    button.setSelectedTitle(dgaText(title));
    button.prepared();
}

void forbidCheckbox(DGACheckboxButton& button) {
    const QString reason = dgaText(kTextAdministratorForbids);
    button.setSelected(false);
    if (!button.title().endsWith(reason))
        button.setTitle(button.title() + QStringLiteral(" – ") + reason);
    button.prepared();
    dgaForbid(button);
}

void setColor(QLabel& label, const QColor& color) {
    QPalette palette = label.palette();
    palette.setColor(QPalette::WindowText, color);
    label.setPalette(palette);
}

void orderKeyboard(Ui::DGAProblemReportingWindowController& form) {
    // The list's box has the keyboard, and its place in the order; the list around it is no stop of its own.
    QWidget* const box = form._listV->focusProxy();
    form._listV->setFocusProxy(nullptr);
    form._listV->setFocusPolicy(Qt::NoFocus);
    const std::vector<QWidget*> order{
        form._textField,   box,           form._fullBtn,   form._sysInfoBtn, form._sysInfoBtn->infoBtn(),
        form._contentsBtn, form._noticeV, form._cancelBtn, form._saveBtn,    form._sendBtn,
        form._closeBtn};
    for (size_t i = 1; i < order.size(); ++i)
        QWidget::setTabOrder(order[i - 1], order[i]);
}

}  // namespace

void dgaSetUpReportForm(Ui::DGAProblemReportingWindowController& form) {
    form._titleLab->setFont(DGAStyle::systemFont(DGAStyle::kTitleFontSize, true));
    form._closeBtn->setIconName(QStringLiteral("close"));
    setColor(*form._placeholderLab, DGAStyle::kSecondaryText);
    // Clicks on it are meant for the field.
    form._placeholderLab->setAttribute(Qt::WA_TransparentForMouseEvents);
    form._counterLab->setFont(DGAStyle::systemFont(DGAStyle::kSmallFontSize));
    setColor(*form._counterLab, DGAStyle::kSecondaryText);
    form._counterLab->hide();

    form._textFieldBgV->setBorderColor(DGAStyle::kControlEdge);
    form._textFieldBgV->setBorderWidth(1.0);
    form._textFieldBgV->setCornerRadius(4.0);

    for (auto* const button : {form._fullBtn, form._sysInfoBtn}) {
        button->setIconName(QStringLiteral("checkBox_no"));
        button->setSelectedIconName(QStringLiteral("checkBox_checked"));
    }
    form._fullBtn->infoBtn()->hide();
    form._spinV->hide();
    form._keptV->setContentsMargins(0, 0, 0, kKeptGap);
    form._saveBtn->setButtonType(kPlainButton);
    form._sendBtn->setButtonType(kPrimaryButton);
    form._cancelBtn->setButtonType(kPlainButton);
    form._listV->prepared();
    orderKeyboard(form);
}

void dgaLabelReportForm(Ui::DGAProblemReportingWindowController& form, QWidget& window, bool sends,
                        int64_t serviceType) {
    form._titleLab->setText(dgaText(lDGARPWindowTitleStr));
    std::string message = DGAUtilities::dga_localize(lDGARPWindowMsg1Str);
    if (sends)
        message = DGAUtilities::dga_localize(support::fillPlaceholders(
            "%@\n\n%@", {message, DGAUtilities::dga_localize(lDGARPWindowMsg2Str)}));
    form._msgLab->setText(QString::fromStdString(message));
    form._placeholderLab->setText(dgaText(lDGARPWindowTFPlaceholderStr));
    form._dropListAlertLab->setText(dgaText(lDGADropListAlertTitle));
    labelCheckbox(*form._fullBtn, lDGARPWindowFullScreenStr);
    labelCheckbox(*form._sysInfoBtn, lDGARPWindowSystemStr);
    for (QWidget* const control :
         std::initializer_list<QWidget*>{form._fullBtn, form._sysInfoBtn, form._saveBtn, form._sendBtn})
        dgaAllow(*control);
    form._fullBtn->setHidden(serviceType == kDGAServiceTypeKT);
    form._contentsBtn->setText(dgaText(kTextSeeWhatIsSent));
    form._saveBtn->setText(dgaText(lDGAProblemReportWindowSaveBtnStr));
    form._saveBtn->setHidden(sends);
    form._sendBtn->setText(dgaText(sends ? lDGAProblemReportWindowSendBtnStr : lDGARPWindowSendMailStr));
    form._cancelBtn->setText(dgaText(lDGACancelStr));

    window.setWindowTitle(form._titleLab->text());
    window.setAccessibleDescription(form._msgLab->text());
    form._textField->setAccessibleName(form._placeholderLab->text());
    form._textField->setAccessibleDescription(form._placeholderLab->text());
    form._listV->setAccessibleName(form._dropListAlertLab->text());
    // Where the toolkit tells the choice as the name, the question is still to be heard.
    if (auto* const box = form._listV->findChild<LarimoDropdownBox*>()) {
        box->setAccessibleName(form._dropListAlertLab->text());
        box->setAccessibleDescription(form._dropListAlertLab->text());
    }
    form._closeBtn->setAccessibleName(dgaText(kTextCloseButtonSendReport));
}

DGAReportFormRights dgaReportFormRights(const DGAPolicy& policy, bool sends) {
    const auto address = DGASessionRecord::sharedRecord().uploadURL.get();
    return {.screenCapture = policy.allows(DGAPolicyKey::screenCapture),
            .systemProfile = policy.allows(DGAPolicyKey::systemProfile),
            .send = sends ? policy.allowsSendingTo(address.value_or("")) : policy.allows(DGAPolicyKey::mail),
            .save = policy.allows(DGAPolicyKey::save)};
}

void dgaForbidInReportForm(Ui::DGAProblemReportingWindowController& form, const DGAReportFormRights& rights) {
    if (!rights.screenCapture)
        forbidCheckbox(*form._fullBtn);
    if (!rights.systemProfile)
        forbidCheckbox(*form._sysInfoBtn);
    if (!rights.save)
        dgaForbid(*form._saveBtn);
    if (rights.send)
        return;
    dgaForbid(*form._sendBtn);
    // A tool tip alone would be found by few.
    form._noticeV->say(form._sendBtn->text() + QStringLiteral(": ") + dgaText(kTextAdministratorForbids), {});
}

void dgaShowDescription(Ui::DGAProblemReportingWindowController& form) {
    form._placeholderLab->setHidden(form._textField->hasText() || form._textField->isComposing());
    const int left = dgaCharactersLeft(form);
    const char* const text = left < 0 ? kTextDescriptionTooLong : kTextCharactersLeft;
    form._counterLab->setText(QString::fromStdString(
        support::fillPlaceholders(DGAUtilities::dga_localize(text), {std::to_string(std::abs(left))})));
    form._counterLab->setHidden(left > kCounterAppears);
}

int dgaCharactersLeft(const Ui::DGAProblemReportingWindowController& form) {
    return kLongestDescription - form._textField->characterCount();
}

void dgaShowBusy(Ui::DGAProblemReportingWindowController& form, bool busy) {
    form._spinV->setVisible(busy);
    form._busyLab->setText(busy ? dgaText(kTextPareparingReport) : QString());
    if (busy)
        form._spinV->startSpin();
    else
        form._spinV->stopSpin();
}
