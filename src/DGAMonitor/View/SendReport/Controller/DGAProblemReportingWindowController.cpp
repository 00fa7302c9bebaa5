#include "DGAMonitor/View/SendReport/Controller/DGAProblemReportingWindowController.h"

#include <QLabel>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"
#include "DGAMonitor/View/DGAMessage.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/View/SendReport/Controller/DGAProblemCatagories.h"
#include "DGAMonitor/View/SendReport/Controller/DGAReportForm.h"
#include "DGAMonitor/View/SendReport/Controller/DGAReportHandover.h"
#include "DGAMonitor/View/SendReport/View/DGAMouseTrackingButton.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAMonitor/Windows/DGAUtilitiesWindows.h"
#include "platform/RunLoop.h"
#include "reportproblem/MailExtension.h"
#include "reportproblem/ReportSources.h"
#include "support/ORVNLogger.h"
#include "support/TextTemplate.h"
#include "ui_DGAProblemReportingWindowController.h"

namespace {

constexpr int kNotRespondingIndex = 1;

constexpr std::chrono::seconds kDraftPause{1};

DGASessionRecord& record() {
    return DGASessionRecord::sharedRecord();
}

DGAApplicationWindows& windows() {
    return DGAApplicationWindows::sharedWindows();
}

DGAWindowServices& services() {
    return windows().services();
}

}  // namespace

DGAProblemReportingWindowController::DGAProblemReportingWindowController()
    : DGAProblemReportingWindowController(Parts()) {}

DGAProblemReportingWindowController::DGAProblemReportingWindowController(Parts parts)
    : parts_(std::move(parts)),
      ui_(std::make_unique<Ui::DGAProblemReportingWindowController>()),
      problemCatagory_(kDGANoCatagory) {
    if (!parts_.makeReportMaker)
        parts_.makeReportMaker = [] { return services().makeReportMaker(); };
    if (!parts_.reportProblem)
        parts_.reportProblem = [](const ReportMail& mail, auto composed) {
            MailExtension().composeMail(mail, std::move(composed));
        };
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
    dgaSetUpReportForm(*ui_);
    ui_->_listV->setDelegate(this);
    window().setDrawnFrame(*ui_->_titleLab, *ui_->_closeBtn);
    window().setScrolling(*ui_->contentLayout);
    connectActions();
    draftTimer_.setSingleShot(true);
    draftTimer_.setInterval(kDraftPause);
    QObject::connect(&draftTimer_, &QTimer::timeout, context(), [this] { keepDraft(); });
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
    onClick(ui_->_contentsBtn, &DGAProblemReportingWindowController::contentsBtnClicked);
    QObject::connect(ui_->_textField, &DGATextField::textChanged, context(),
                     [this] { controlTextDidChange(); });
    QObject::connect(ui_->_textField, &DGATextField::composingChanged, context(),
                     [this] { dgaShowDescription(*ui_); });
    QObject::connect(&window(), &DGAProblemReportingWindow::sendPressed, context(),
                     [this] { ui_->_sendBtn->click(); });
    // Also leads out of a report that never gets ready.
    QObject::connect(&window(), &DGAWindowBase::closeRequested, context(), [this] { closeBtnClicked(); });
}

void DGAProblemReportingWindowController::showPRWindow() {
    const bool isFresh = !isVisible();
    if (isFresh)
        beginNewReport();
    dealProblemCatagory();
    if (isFresh) {
        restoreDraft();
        // As the permission to send, it is that of the opening.
        rights_ = dgaReportFormRights(parts_.policy ? parts_.policy() : DGAPolicy::current(), sends_);
        dgaForbidInReportForm(*ui_, rights_);
    }
    window().setLevel(DGAUtilities::dga_fetchWindowLevel());
    if (isFresh)
        window().center();
    window().showInFront();
    if (isFresh || record().keptReport.get())
        offerKept();
}

// An open window acts as it is labelled, whatever the client tells meanwhile.
void DGAProblemReportingWindowController::beginNewReport() {
    sends_ = record().enableSendReport;
    rights_ = {};
    serviceType_ = record().serviceType;
    dgaLabelReportForm(*ui_, window(), sends_, serviceType_);
    window().setWindowState(Qt::WindowNoState);
    abandonReport();
    status_ = true;
    isHandedOn_ = false;
    savesKept_.clear();
    ui_->_noticeV->clear();
    ui_->_keptV->clear();
    dgaShowBusy(*ui_, false);
    ui_->_textField->setStringValue("");
    ui_->_fullBtn->setSelected(true);
    ui_->_sysInfoBtn->setSelected(true);
    ui_->_sysInfoBtn->infoBtn()->closePopover();
    refreshForm();
    ui_->_textField->setFocus();
}

void DGAProblemReportingWindowController::restoreDraft() {
    const DGAReportDraft draft = services().draft();
    if (draft.description.empty())
        return;
    ui_->_textField->setStringValue(draft.description);
    ui_->_textField->moveCursor(QTextCursor::End);
    ui_->_fullBtn->setSelected(draft.screenShot);
    ui_->_sysInfoBtn->setSelected(draft.systemInfo);
    const QString title = titleListDic_.key(draft.category);
    if (const auto index = titleListArr_.indexOf(title); index > 0 && problemCatagory_ == kDGANoCatagory) {
        ui_->_listV->setDefautTitle(title);
        ui_->_listV->refreshComboBoxWithIndex(static_cast<int>(index));
    }
    refreshForm();
}

void DGAProblemReportingWindowController::keepDraft() {
    draftTimer_.stop();
    services().setDraft({.description = ui_->_textField->stringValue(),
                         .category = problemCatagory_,
                         .screenShot = ui_->_fullBtn->selected(),
                         .systemInfo = ui_->_sysInfoBtn->selected()});
}

// What was entered has reached its place.
void DGAProblemReportingWindowController::endDraft() {
    draftTimer_.stop();
    isHandedOn_ = true;
    services().setDraft({});
}

void DGAProblemReportingWindowController::close() {
    if (DGASavePanel* const open = panel_)
        open->reject();
    if (QMessageBox* const open = question_)
        open->reject();
    if (!status_)
        abandonReport();
    listing_.drop();
    if (isVisible() && !isHandedOn_)
        keepDraft();
    DGAWindowController::close();
}

// What a person typed, and a report that is being made, is not ended by one key.
void DGAProblemReportingWindowController::leave(std::function<void()> left) {
    const bool loses = (ui_->_textField->hasText() && !isHandedOn_) || !status_;
    if (question_)
        return;
    if (!loses) {
        close();
        left();
        return;
    }
    question_ = dgaAsk(&window(), dgaText(kTextCloseWithoutSending), dgaText(kTextCloseButtonSendReport),
                       dgaText(kTextKeepWriting), context(), [this, left = std::move(left)](bool yes) {
                           question_.clear();
                           if (!yes)
                               return;
                           close();
                           left();
                       });
}

void DGAProblemReportingWindowController::dealProblemCatagory() {
    const bool frozen = record().isFreeze;
    titleListArr_.clear();
    titleListDic_.clear();
    for (const auto& catagory : dgaProblemCatagories(serviceType_)) {
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
    ui_->_listV->updateGeometry();
    if (frozen)
        ui_->_listV->refreshComboBoxWithIndex(kNotRespondingIndex);
}

int64_t DGAProblemReportingWindowController::fetchProblemCatagoryByTitle(const QString& title) const {
    return titleListDic_.value(title, 0);
}

void DGAProblemReportingWindowController::controlTextDidChange() {
    isHandedOn_ = false;
    draftTimer_.start();
    refreshForm();
}

void DGAProblemReportingWindowController::dropDownListDidSelect(DGADropDownListView& /*listView*/,
                                                                const QString& categoryTitle) {
    problemCatagoryTitle_ = categoryTitle;
    problemCatagory_ = fetchProblemCatagoryByTitle(categoryTitle);
    refreshForm();
}

void DGAProblemReportingWindowController::refreshForm() {
    dgaShowDescription(*ui_);
    refreshControls(ui_->_textField->hasText() && problemCatagory_ != kDGANoCatagory);
}

// The one place that decides what may be used. While a report is being made nothing: a second one would
// follow it.
void DGAProblemReportingWindowController::refreshControls(bool complete) {
    const bool maySend = status_ && complete && dgaCharactersLeft(*ui_) >= 0;
    ui_->_sendBtn->setEnabled(maySend && rights_.send);
    ui_->_saveBtn->setEnabled(maySend && rights_.save);
    ui_->_cancelBtn->setEnabled(status_);
    ui_->_closeBtn->setEnabled(status_);
    ui_->_contentsBtn->setEnabled(status_);
    ui_->_noticeV->setActionsEnabled(status_);
}

void DGAProblemReportingWindowController::changeWindowStatus(bool status) {
    ORVN_LOG_METHOD();
    status_ = status;
    // A control that loses the keyboard would hand it to the next one, which the user did not choose.
    if (!status)
        window().setFocus();
    refreshControls(true);
    dgaShowBusy(*ui_, !status);
}

void DGAProblemReportingWindowController::sendReportBtnClicked() {
    ORVN_LOG_METHOD();
    isSaveBtnClicked_ = false;
    if (sends_) {
        services().sendTelemetryAction(DGATelemetryAction::sendReport);
        // The draft ends when there is an archive that holds it.
        keepDraft();
        if (showUploadWindow(options())) {
            listing_.handOn();
            isHandedOn_ = true;
            close();
        }
        return;
    }
    ui_->_noticeV->clear();
    changeWindowStatus(false);
    services().sendTelemetryAction(DGATelemetryAction::sendMail);
    generateReport();
}

void DGAProblemReportingWindowController::saveBtnClicked() {
    ORVN_LOG_METHOD();
    isSaveBtnClicked_ = true;
    ui_->_noticeV->clear();
    changeWindowStatus(false);
    generateReport();
    services().sendTelemetryAction(DGATelemetryAction::saveReport);
}

void DGAProblemReportingWindowController::cancelBtnClicked() {
    ORVN_LOG_METHOD();
    leave([] { services().sendTelemetryAction(DGATelemetryAction::cancelReport); });
}

void DGAProblemReportingWindowController::closeBtnClicked() {
    ORVN_LOG_METHOD();
    leave([] {});
}

// What is left out there is left out here.
void DGAProblemReportingWindowController::contentsBtnClicked() {
    listing_.open(window(), options(), sends_, [this](const std::string& kind, bool wanted) {
        auto* const box = kind == ReportFileKind::kScreenshot ? ui_->_fullBtn : ui_->_sysInfoBtn;
        box->setSelected(wanted);
    });
}

bool DGAProblemReportingWindowController::showUploadWindow(const DGAReportOptions& options) {
    ORVN_LOG_METHOD();
    auto& upload = windows().uploadWindowCtrl;
    if (!upload)
        upload = windows().makeUploadWindow();
    if (!upload)
        return false;
    // Another report is on its way, which this one would end.
    if (upload->isVisible()) {
        upload->bringToFront();
        return false;
    }
    upload->showUploadWindowIfScreenShot(options, options.description, options.category->number);
    return true;
}

// It goes as it is, with the values of this session, or into a file; what is being written here stays.
void DGAProblemReportingWindowController::offerKept() {
    const std::string first = record().keptReport.get().value_or("");
    if (!sends_) {
        const auto save = [this](const DGAKeptReport& report) {
            if (!status_)
                return false;
            saveKept(report.number);
            return true;
        };
        kept_.refresh(*ui_->_keptV, {.title = lDGAProblemReportWindowSaveBtnStr,
                                     .handOn = save,
                                     .isAllowed = rights_.save,
                                     .first = first});
        return;
    }
    const auto send = [this](const DGAKeptReport& report) {
        return showUploadWindow({.serviceType = serviceType_,
                                 .description = report.description,
                                 .category = DGAReportCategory{report.category, {}},
                                 .kept = report.number});
    };
    kept_.refresh(*ui_->_keptV,
                  {.title = kTextSend, .handOn = send, .isAllowed = rights_.send, .first = first});
}

DGAReportOptions DGAProblemReportingWindowController::options() const {
    if (!savesKept_.empty())
        return {.serviceType = serviceType_, .kept = savesKept_};
    DGAReportOptions options{
        .screenShot = ui_->_fullBtn->selected(),
        .systemInfo = ui_->_sysInfoBtn->selected(),
        .serviceType = serviceType_,
        .description = ui_->_textField->stringValue(),
        .category = DGAReportCategory{problemCatagory_, dgaProblemCatagoryName(problemCatagory_)}};
    listing_.addTo(options);
    return options;
}
