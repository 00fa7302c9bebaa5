#include <filesystem>
#include <system_error>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Session/DGAReportResults.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/View/SendReport/Controller/DGAProblemReportingWindowController.h"
#include "DGAMonitor/View/SendReport/Controller/DGAReportForm.h"
#include "DGAMonitor/View/SendReport/Controller/DGAReportHandover.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "platform/FileManager.h"
#include "platform/RunLoop.h"
#include "reportproblem/MailExtension.h"
#include "support/ORVNLogger.h"
#include "support/TextTemplate.h"
#include "ui_DGAProblemReportingWindowController.h"

// How the window has a report made, and hands it to a file or to the mail program.

namespace {

DGAWindowServices& services() {
    return DGAApplicationWindows::sharedWindows().services();
}

}  // namespace

void DGAProblemReportingWindowController::generateReport() {
    lacksPicture_ = false;
    if (!maker_) {
        awaiting_.reset(static_cast<DGAReportGeneratorDelegate*>(this), [](DGAReportGeneratorDelegate*) {});
        maker_ = parts_.makeReportMaker();
        maker_->setDelegate(awaiting_);
    }
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

void DGAProblemReportingWindowController::reportFailed(const std::string& /*reason*/) {
    changeWindowStatus(true);
    if (endKept())
        ui_->_noticeV->say(dgaText(kTextReportGone), {});
    else
        offerAgain(kTextReportPareparedFailed);
}

void DGAProblemReportingWindowController::saveKept(const std::string& number) {
    ORVN_LOG_METHOD();
    savesKept_ = number;
    isSaveBtnClicked_ = true;
    ui_->_noticeV->clear();
    changeWindowStatus(false);
    generateReport();
}

// Whether it was one; what is still kept is offered.
bool DGAProblemReportingWindowController::endKept() {
    const bool isKept = !std::exchange(savesKept_, {}).empty();
    if (isKept) {
        refreshForm();  // nothing need be entered for it
        offerKept();
    }
    return isKept;
}

void DGAProblemReportingWindowController::offerAgain(const char* text) {
    const auto again = [this] {
        if (isSaveBtnClicked_)
            saveBtnClicked();
        else
            sendReportBtnClicked();
    };
    ui_->_noticeV->say(dgaText(text), {{dgaText(kTextTryAgain), again}});
}

void DGAProblemReportingWindowController::generateReportMailWithFilePath(const std::string& path) {
    ORVN_LOG_METHOD();
    const std::string catagory =
        problemCatagoryTitle_ ? problemCatagoryTitle_->toStdString() : std::string(support::orNull({}));
    const ReportMail mail = dgaReportMail(path + ".zip", catagory, ui_->_textField->stringValue());
    parts_.reportProblem(mail, [this, alive = std::weak_ptr(awaiting_)](bool composed) {
        platform::performOnMain([this, alive, composed] {
            if (!alive.expired())
                mailEnded(composed);
        });
    });
}

// Without a mail program the report is put where the user finds it.
void DGAProblemReportingWindowController::mailEnded(bool composed) {
    changeWindowStatus(true);
    if (composed) {
        endDraft();
        services().uploadChanged({.path = filePath_, .state = DGAReportState::kMailed});
        if (lacksPicture_)
            tellDone(dgaText(kTextNoScreenCapture), {});
        else
            close();
        return;
    }
    if (!rights_.save) {
        ui_->_noticeV->say(dgaText(kTextAdministratorForbids), {});
        return;
    }
    const std::string target = DGASavePanel::freePathFor(filePath_.substr(filePath_.rfind('/') + 1));
    const std::string error = dgaMoveArchive(filePath_, target);
    if (error.empty())
        tellSaved(kTextNoMailProgram, target);
    else
        ui_->_noticeV->say(QString::fromStdString(error), {});
}

void DGAProblemReportingWindowController::tellSaved(const char* text, const std::string& path) {
    services().uploadChanged({.path = filePath_, .state = DGAReportState::kSaved});
    QString said = dgaSavedText(text, path);
    if (lacksPicture_)
        said += QLatin1Char(' ') + dgaText(kTextNoScreenCapture);
    const std::vector<DGANoticeLine::Action> actions{
        {dgaText(kTextShowInFolder), [path] { platform::showInFileManager(path); }}};
    if (endKept()) {
        ui_->_noticeV->say(said, actions);
        return;
    }
    endDraft();
    tellDone(said, actions);
}

void DGAProblemReportingWindowController::tellDone(const QString& text,
                                                   const std::vector<DGANoticeLine::Action>& actions) {
    ui_->_noticeV->say(text, actions);
    ui_->_cancelBtn->setText(dgaText(kTextCloseButtonSendReport));
}

void DGAProblemReportingWindowController::saveWithFilePath(const std::string& path) {
    dgaShowBusy(*ui_, false);
    const auto done = [this, alive = std::weak_ptr(awaiting_)](int result) {
        if (!alive.expired())
            judgePanelStatusWithIndex(result);
    };
    panel_ = DGASavePanel::dga_showSavePanelWithName(path.substr(path.rfind('/') + 1), {"zip"}, &window(),
                                                     this, done);
}

// The panel stays where the report could not be saved, so that another place can be chosen.
bool DGAProblemReportingWindowController::panel(DGASavePanel& /*panel*/,
                                                const std::optional<std::string>& validateURL,
                                                std::string* error) {
    std::error_code failure;
    const bool isThere = validateURL && std::filesystem::exists(filePath_, failure);
    if (isThere)
        *error = dgaMoveArchive(filePath_, *validateURL);
    if (!error->empty())
        return false;
    // It closes itself after this answer.
    panel_ = nullptr;
    changeWindowStatus(true);
    if (isThere)
        tellSaved(kTextReportSaved, *validateURL);
    else if (endKept())
        ui_->_noticeV->say(dgaText(kTextReportGone), {});
    else
        offerAgain(kTextReportGone);
    return true;
}

void DGAProblemReportingWindowController::judgePanelStatusWithIndex(int index) {
    if (index != DGASavePanel::kCancelled)
        return;
    changeWindowStatus(true);
    endKept();
}
