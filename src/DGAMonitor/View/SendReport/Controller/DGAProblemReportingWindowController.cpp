#include "DGAMonitor/View/SendReport/Controller/DGAProblemReportingWindowController.h"

#include <QLabel>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/View/SendReport/Controller/DGAProblemCatagories.h"
#include "DGAMonitor/View/SendReport/View/DGAMouseTrackingButton.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAMonitor/Windows/DGAUtilitiesWindows.h"
#include "platform/FileMove.h"
#include "reportproblem/MailExtension.h"
#include "support/ORVNLogger.h"
#include "support/TextTemplate.h"
#include "ui_DGAProblemReportingWindowController.h"

namespace {

constexpr int kNotRespondingIndex = 1;

constexpr int kPlainButton = 0;
constexpr int kPrimaryButton = 2;

DGASessionRecord& record() {
    return DGASessionRecord::sharedRecord();
}

DGAApplicationWindows& windows() {
    return DGAApplicationWindows::sharedWindows();
}

}  // namespace

DGAProblemReportingWindowController::DGAProblemReportingWindowController()
    : DGAProblemReportingWindowController(Parts()) {}

DGAProblemReportingWindowController::DGAProblemReportingWindowController(Parts parts)
    : parts_(std::move(parts)),
      ui_(std::make_unique<Ui::DGAProblemReportingWindowController>()),
      problemCatagory_(kDGANoCatagory) {
    if (!parts_.makeReportMaker)
        parts_.makeReportMaker = [] { return windows().services().makeReportMaker(); };
    if (!parts_.reportProblem)
        parts_.reportProblem = [](const ReportMail& mail) { MailExtension().reportProblem(mail, nullptr); };
    ui_->setupUi(&window());
    doInitialization();
}

DGAProblemReportingWindowController::~DGAProblemReportingWindowController() {
    // The window, with all that is in it, ends a little later than its controller.
    ui_->_listV->setDelegate(nullptr);
    if (panel_)
        panel_->setDelegate(nullptr);
}

void DGAProblemReportingWindowController::doInitialization() {
    problemCatagory_ = kDGANoCatagory;
    windowTextLocalization();
    prepareCheckboxes();
    setupUIVStyle();
    setupKeyboard();
    window().setDrawnFrame(*ui_->_titleLab, *ui_->_closeBtn);
    window().setScrolling(*ui_->contentLayout);
    connectActions();
}

void DGAProblemReportingWindowController::windowTextLocalization() {
    const bool sends = record().enableSendReport;
    ui_->_titleLab->setText(dgaText(lDGARPWindowTitleStr));
    std::string message = DGAUtilities::dga_localize(lDGARPWindowMsg1Str);
    if (sends)
        message = DGAUtilities::dga_localize(support::fillPlaceholders(
            "%@\n\n%@", {message, DGAUtilities::dga_localize(lDGARPWindowMsg2Str)}));
    ui_->_msgLab->setText(QString::fromStdString(message));
    ui_->_placeholderLab->setText(dgaText(lDGARPWindowTFPlaceholderStr));
    ui_->_dropListAlertLab->setText(dgaText(lDGADropListAlertTitle));
    ui_->_saveBtn->setText(dgaText(lDGAProblemReportWindowSaveBtnStr));
    ui_->_sendBtn->setText(dgaText(sends ? lDGAProblemReportWindowSendBtnStr : lDGARPWindowSendMailStr));
    ui_->_cancelBtn->setText(dgaText(lDGACancelStr));

    window().setWindowTitle(ui_->_titleLab->text());
    window().setAccessibleDescription(ui_->_msgLab->text());
    ui_->_textField->setAccessibleName(ui_->_placeholderLab->text());
    ui_->_textField->setAccessibleDescription(ui_->_placeholderLab->text());
    ui_->_listV->setAccessibleName(ui_->_dropListAlertLab->text());
    ui_->_closeBtn->setAccessibleName(dgaText(kTextCloseButtonSendReport));
}

void DGAProblemReportingWindowController::prepareCheckboxes() {
    const auto prepare = [](DGACheckboxButton& button, const char* title) {
        button.setTitle(dgaText(title));
        button.setSelectedTitle(dgaText(title));
        button.setIconName(QStringLiteral("checkBox_no"));
        button.setSelectedIconName(QStringLiteral("checkBox_checked"));
    };
    prepare(*ui_->_fullBtn, lDGARPWindowFullScreenStr);
    prepare(*ui_->_sysInfoBtn, lDGARPWindowSystemStr);
    ui_->_fullBtn->infoBtn()->hide();
    if (record().serviceType == kDGAServiceTypeKT)
        ui_->_fullBtn->hide();
    else
        ui_->_fullBtn->prepared();
    ui_->_sysInfoBtn->prepared();
    ui_->_fullBtn->setSelected(true);
    ui_->_sysInfoBtn->setSelected(true);
}

void DGAProblemReportingWindowController::setupUIVStyle() {
    ui_->_titleLab->setFont(DGAStyle::systemFont(DGAStyle::kTitleFontSize, true));
    ui_->_closeBtn->setIconName(QStringLiteral("close"));
    QPalette secondary = ui_->_placeholderLab->palette();
    secondary.setColor(QPalette::WindowText, DGAStyle::kSecondaryText);
    ui_->_placeholderLab->setPalette(secondary);
    // Clicks on it are meant for the field.
    ui_->_placeholderLab->setAttribute(Qt::WA_TransparentForMouseEvents);

    ui_->_textFieldBgV->setBorderColor(DGAStyle::kControlEdge);
    ui_->_textFieldBgV->setBorderWidth(1.0);
    ui_->_textFieldBgV->setCornerRadius(4.0);

    ui_->_saveBtn->setButtonType(kPlainButton);
    ui_->_saveBtn->setEnabled(false);
    ui_->_saveBtn->setHidden(record().enableSendReport);
    ui_->_sendBtn->setButtonType(kPrimaryButton);
    ui_->_sendBtn->setEnabled(false);
    ui_->_cancelBtn->setButtonType(kPlainButton);

    ui_->_listV->setDelegate(this);
    dealProblemCatagory();
    ui_->_listV->prepared();
}

void DGAProblemReportingWindowController::setupKeyboard() {
    // The list's box has the keyboard, and its place in the order; the list around it is no stop of its own.
    QWidget* const box = ui_->_listV->focusProxy();
    ui_->_listV->setFocusProxy(nullptr);
    ui_->_listV->setFocusPolicy(Qt::NoFocus);
    const std::vector<QWidget*> order{
        ui_->_textField, box,           ui_->_fullBtn, ui_->_sysInfoBtn, ui_->_sysInfoBtn->infoBtn(),
        ui_->_cancelBtn, ui_->_saveBtn, ui_->_sendBtn, ui_->_closeBtn};
    for (size_t i = 1; i < order.size(); ++i)
        QWidget::setTabOrder(order[i - 1], order[i]);
}

void DGAProblemReportingWindowController::connectActions() {
    const auto onClick = [this](QAbstractButton* button,
                                void (DGAProblemReportingWindowController::*action)()) {
        QObject::connect(button, &QAbstractButton::clicked, context(), [this, action] { (this->*action)(); });
    };
    onClick(ui_->_sendBtn, &DGAProblemReportingWindowController::sendReportBtnClicked);
    onClick(ui_->_saveBtn, &DGAProblemReportingWindowController::saveBtnClicked);
    onClick(ui_->_cancelBtn, &DGAProblemReportingWindowController::cancelBtnClicked);
    onClick(ui_->_closeBtn, &DGAProblemReportingWindowController::closeBtnClicked);
    QObject::connect(ui_->_textField, &DGATextField::textChanged, context(),
                     [this] { controlTextDidChange(); });
    QObject::connect(ui_->_textField, &DGATextField::composingChanged, context(),
                     [this] { refreshPlaceholder(); });
    QObject::connect(&window(), &DGAProblemReportingWindow::returnPressed, context(),
                     [this] { ui_->_sendBtn->click(); });
    QObject::connect(&window(), &DGAProblemReportingWindow::escapePressed, context(),
                     [this] { ui_->_closeBtn->click(); });
    // The window manager's way also leads out of a report that never gets ready.
    QObject::connect(&window(), &DGAWindowBase::closeRequested, context(), [this] { closeBtnClicked(); });
}

void DGAProblemReportingWindowController::showPRWindow() {
    if (!window().isVisible())
        beginNewReport();
    dealProblemCatagory();
    window().setLevel(DGAUtilities::dga_fetchWindowLevel());
    window().center();
    window().showInFront();
}

void DGAProblemReportingWindowController::beginNewReport() {
    status_ = true;
    ui_->_textField->setStringValue("");
    ui_->_fullBtn->setSelected(true);
    ui_->_sysInfoBtn->setSelected(true);
    ui_->_sysInfoBtn->infoBtn()->closePopover();
    ui_->_saveBtn->setEnabled(false);
    ui_->_sendBtn->setEnabled(false);
    ui_->_cancelBtn->setEnabled(true);
    ui_->_closeBtn->setEnabled(true);
    refreshPlaceholder();
    ui_->_textField->setFocus();
}

void DGAProblemReportingWindowController::close() {
    if (DGASavePanel* const open = panel_)
        open->reject();
    if (!status_)
        abandonReport();
    DGAWindowController::close();
}

void DGAProblemReportingWindowController::dealProblemCatagory() {
    const bool frozen = record().isFreeze;
    titleListArr_.clear();
    titleListDic_.clear();
    for (const auto& catagory : dgaProblemCatagories(record().serviceType)) {
        titleListArr_ << catagory.title;
        titleListDic_.insert(catagory.title, catagory.number);
    }
    if (frozen) {
        problemCatagory_ = kDGANotRespondingCatagory;
        ui_->_listV->setDefautTitle(titleListArr_.at(kNotRespondingIndex));
    } else {
        titleListArr_.removeAt(kNotRespondingIndex);
        if (!window().isVisible()) {
            ui_->_listV->setDefautTitle(titleListArr_.first());
            ui_->_listV->clearStatus();
            // That tells of the list's first title so far, which is unknown now if the language has changed.
            problemCatagory_ = kDGANoCatagory;
        }
    }
    ui_->_listV->setListTitleArr(titleListArr_);
    if (frozen)
        ui_->_listV->refreshComboBoxWithIndex(kNotRespondingIndex);
}

int64_t DGAProblemReportingWindowController::fetchProblemCatagoryByTitle(const QString& title) const {
    return titleListDic_.value(title, 0);
}

void DGAProblemReportingWindowController::controlTextDidChange() {
    refreshPlaceholder();
    refreshButtons();
}

void DGAProblemReportingWindowController::dropDownListDidSelect(DGADropDownListView& /*listView*/,
                                                                const QString& categoryTitle) {
    problemCatagoryTitle_ = categoryTitle;
    problemCatagory_ = fetchProblemCatagoryByTitle(categoryTitle);
    refreshPlaceholder();
    refreshButtons();
}

void DGAProblemReportingWindowController::refreshPlaceholder() {
    ui_->_placeholderLab->setHidden(ui_->_textField->hasText() || ui_->_textField->isComposing());
}

// Not while a report is being made: a second one would follow it.
void DGAProblemReportingWindowController::refreshButtons() {
    const bool complete = ui_->_textField->hasText() && problemCatagory_ != kDGANoCatagory;
    ui_->_saveBtn->setEnabled(status_ && complete);
    ui_->_sendBtn->setEnabled(status_ && complete);
}

void DGAProblemReportingWindowController::changeWindowStatus(bool status) {
    ORVN_LOG_METHOD();
    status_ = status;
    // A control that loses the keyboard would hand it to the next one, which the user did not choose.
    if (!status)
        window().setFocus();
    ui_->_sendBtn->setEnabled(status);
    ui_->_cancelBtn->setEnabled(status);
    ui_->_closeBtn->setEnabled(status);
    ui_->_saveBtn->setEnabled(status);
}

void DGAProblemReportingWindowController::sendReportBtnClicked() {
    ORVN_LOG_METHOD();
    isSaveBtnClicked_ = false;
    if (record().enableSendReport) {
        windows().services().sendTelemetryAction(DGATelemetryAction::sendReport);
        // Without an upload window the user would lose what was written.
        if (showUploadWindow())
            close();
        return;
    }
    changeWindowStatus(false);
    windows().services().sendTelemetryAction(DGATelemetryAction::sendMail);
    generateReport();
}

void DGAProblemReportingWindowController::saveBtnClicked() {
    ORVN_LOG_METHOD();
    isSaveBtnClicked_ = true;
    changeWindowStatus(false);
    generateReport();
    windows().services().sendTelemetryAction(DGATelemetryAction::saveReport);
}

void DGAProblemReportingWindowController::cancelBtnClicked() {
    ORVN_LOG_METHOD();
    close();
    windows().services().sendTelemetryAction(DGATelemetryAction::cancelReport);
}

void DGAProblemReportingWindowController::closeBtnClicked() {
    ORVN_LOG_METHOD();
    close();
}

bool DGAProblemReportingWindowController::showUploadWindow() {
    ORVN_LOG_METHOD();
    auto& upload = windows().uploadWindowCtrl;
    if (!upload)
        upload = windows().makeUploadWindow();
    if (!upload)
        return false;
    upload->showUploadWindowIfScreenShot(options(), ui_->_textField->stringValue(), problemCatagory_);
    return true;
}

DGAReportOptions DGAProblemReportingWindowController::options() const {
    return {.screenShot = ui_->_fullBtn->selected(),
            .systemInfo = ui_->_sysInfoBtn->selected(),
            .serviceType = record().serviceType,
            .description = ui_->_textField->stringValue(),
            .category = DGAReportCategory{problemCatagory_, dgaProblemCatagoryName(problemCatagory_)}};
}

void DGAProblemReportingWindowController::generateReport() {
    if (!maker_) {
        awaiting_.reset(static_cast<DGAReportGeneratorDelegate*>(this), [](DGAReportGeneratorDelegate*) {});
        maker_ = parts_.makeReportMaker();
        maker_->setDelegate(awaiting_);
    }
    windowTextLocalization();
    maker_->startGenerateReportIfScreenShot(options(), nullptr);
}

// The run goes on, but what it tells reaches nobody; the next report gets a generator of its own.
void DGAProblemReportingWindowController::abandonReport() {
    maker_.reset();
    awaiting_.reset();
}

void DGAProblemReportingWindowController::reportFileGeneratedAt(const std::string& path) {
    filePath_ = path + ".zip";
    if (isSaveBtnClicked_)
        saveWithFilePath(path);
    else
        generateReportMailWithFilePath(path);
}

// Send and Save try again.
void DGAProblemReportingWindowController::reportFailed(const std::string& /*reason*/) {
    changeWindowStatus(true);
    ui_->_msgLab->setText(dgaText(kTextReportPareparedFailed));
    window().setAccessibleDescription(ui_->_msgLab->text());
}

void DGAProblemReportingWindowController::generateReportMailWithFilePath(const std::string& path) {
    ORVN_LOG_METHOD();
    const auto version = record().clientVersion.get();
    const std::string catagory =
        problemCatagoryTitle_ ? problemCatagoryTitle_->toStdString() : std::string(support::orNull({}));
    ReportMail mail;
    mail._mailTitle = support::fillPlaceholders(DGAUtilities::dga_localize(lDGAReportMailTitleStr),
                                                {support::orNull(version)});
    mail._mailBody =
        DGAUtilities::dga_localize(lDGAReportMailBodyStr) +
        support::fillPlaceholders("\n\n%@\n%@\n%@", {DGAUtilities::dga_localize(lDGADropListAlertTitle),
                                                     catagory, ui_->_textField->stringValue()});
    mail._attachments = {path + ".zip"};
    parts_.reportProblem(mail);
    changeWindowStatus(true);
    close();
}

void DGAProblemReportingWindowController::saveWithFilePath(const std::string& path) {
    const auto done = [this, alive = std::weak_ptr(awaiting_)](int result) {
        if (!alive.expired())
            judgePanelStatusWithIndex(result);
    };
    panel_ = DGASavePanel::dga_showSavePanelWithName(path.substr(path.rfind('/') + 1), {"zip"}, &window(),
                                                     this, done);
}

bool DGAProblemReportingWindowController::panel(DGASavePanel& /*panel*/,
                                                const std::optional<std::string>& validateURL,
                                                std::string* /*error*/) {
    // It closes itself after this answer.
    panel_ = nullptr;
    changeWindowStatus(true);
    std::error_code failure;
    if (validateURL && std::filesystem::exists(filePath_, failure)) {
        platform::moveFile(filePath_, *validateURL);
        close();
    }
    return true;
}

void DGAProblemReportingWindowController::judgePanelStatusWithIndex(int index) {
    if (index == DGASavePanel::kCancelled)
        changeWindowStatus(true);
}
