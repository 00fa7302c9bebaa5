#include "DGAUpload/ui/UploadViewController.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"
#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "DGAMonitor/Utilities/DGAUtilitiesFiles.h"
#include "DGAMonitor/View/DGAMessage.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/View/SendReport/Controller/DGAReportHandover.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "platform/FileManager.h"
#include "platform/RunLoop.h"
#include "support/ORVNLogger.h"

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kPollInterval{500};
constexpr int64_t kSizeLimit = 25'000'001;  // bytes; below it an archive is sent
constexpr char kDefaultComment[] = "test comment";

DGASessionRecord& record() {
    return DGASessionRecord::sharedRecord();
}

DGAWindowServices& services() {
    return DGAApplicationWindows::sharedWindows().services();
}

std::string fileNameOf(const std::string& path) {
    return std::filesystem::path(path).filename().string();
}

}  // namespace

UploadViewController::UploadViewController(Parts parts, std::function<void()> closeWindow)
    : parts_(std::move(parts)), closeWindow_(std::move(closeWindow)) {
    if (!parts_.policy)
        parts_.policy = &DGAPolicy::current;
}

UploadViewController::~UploadViewController() {
    ORVN_LOG_METHOD();
    detach();
}

UploadView& UploadViewController::view() {
    if (!uploadView) {
        uploadView = new UploadView();
        awakeFromNib();
    }
    return *uploadView;
}

void UploadViewController::awakeFromNib() {
    ORVN_LOG_METHOD();
    uploadView->setDelegate(weak_from_this());
    uploadView->setSavingAllowed(parts_.policy().allows(DGAPolicyKey::save));
    steps_.needShowPrepareStep = true;
    generateReport();
}

void UploadViewController::generateReport() {
    ORVN_LOG_METHOD();
    if (!maker_)
        maker_ = parts_.reportMaker ? parts_.reportMaker : services().makeReportMaker();
    maker_->setDelegate(weak_from_this());
    maker_->startGenerateReportIfScreenShot(options_, {});
}

void UploadViewController::reportHasNoPicture() {
    if (uploadView)
        uploadView->setLacksPicture();
}

void UploadViewController::reportFileGeneratedAt(const std::string& path) {
    if (!uploadView)
        return;
    if (!steps_.prepareStep_alreadyshow && steps_.needShowPrepareStep) {
        uploadView->showReportPreparedStep(true);
        steps_.prepareStep_alreadyshow = true;
    }
    ORVN_LOG_METHOD();
    fileFullPath_ = path + ".zip";
    const std::string fileName = fileNameOf(fileFullPath_);
    uploadView->setReportNumber(fileName.substr(0, fileName.find('.')));
    fileSize_ = DGAUtilities::dga_fetchFileSizeAt(fileFullPath_);
    if (fileSize_ < kSizeLimit)
        setupParameters();
    else
        uploadView->showSizeExcessiveStep(false);
}

void UploadViewController::reportFailed(const std::string& /*reason*/) {
    if (uploadView)
        uploadView->showReportFailed();
}

void UploadViewController::setupParameters() {
    ORVN_LOG_METHOD();
    passParameters();
    logInfo("{},parameters set success", ORVN_METHOD_NAME);
    tellUpload("sending");
    m_traceUpload->preparingReport(record().uploadURL.get().value_or(""), fileFullPath_);
    // With nothing to send the server is not asked: its answer would replace the status that says so.
    if (m_traceUpload->m_status != CTraceUpload::kStatusNoFile)
        m_traceUpload->queryAndUploadToSever();
    logInfo("{},queryAndUpload finish", ORVN_METHOD_NAME);
    startPolling();
}

void UploadViewController::passParameters() {
    const auto text = [](const DGASessionRecord::Text& field) { return field.get().value_or(""); };
    const std::string timeStamp = dga_transformToCurrentDateString("MM_dd_yyyy_HH:mm:ss");
    m_traceUpload = parts_.makeUploader ? parts_.makeUploader() : std::make_shared<CTraceUpload>();
    CTraceUpload& upload = *m_traceUpload;
    const DGAPolicy policy = parts_.policy();
    const bool maySend = policy.allows(DGAPolicyKey::send);
    upload.setRules(
        {[policy, maySend](const std::string& host) { return maySend && policy.allowsHost(host); },
         policy.verifiesCertificates()});
    upload.setSiteURL(text(record().uploadURL));
    upload.setConfId(text(record().confID));
    upload.setUploadTimeStamp(timeStamp);
    upload.setSmac(text(record().smac));
    upload.setConferenceName(text(record().confName));
    upload.setUserId(text(record().userID));
    upload.setSiteId(text(record().siteID));
    upload.setUserName(text(record().userName));
    upload.setMeetingKey(text(record().meetingKey));
    upload.setSmacTimestap(text(record().smacTimestap));
    m_emailAddress = text(record().userEmail);
    upload.setUserEmail(m_emailAddress);
    if (comment_.empty())
        comment_ = kDefaultComment;
    upload.setUserComment(comment_);
    upload.setTrackingId(text(record().telemetrySessionID));
    upload.setProblemCatagory(catagory_);
    upload.setLanguageID(text(record().languageID));
    upload.setClientVersion(text(record().clientVersion));
    const std::string fileName = fileNameOf(fileFullPath_);
    upload.setFileName(fileName.substr(0, fileName.find('.')));
}

void UploadViewController::startPolling() {
    begun_ = std::chrono::steady_clock::now();
    polling_->myHttpThread = true;
    try {
        std::thread(&threadEntry, ThreadArguments{polling_, m_traceUpload, weak_from_this()}).detach();
    } catch (const std::system_error& error) {
        polling_->myHttpThread = false;
        logWarning("the upload is not watched: {}", error.what());
    }
}

void UploadViewController::threadEntry(ThreadArguments arguments) {
    Polling& polling = *arguments.polling;
    int32_t lastProgress = 0;
    int32_t lastStatus = 0;
    do {
        std::this_thread::sleep_for(kPollInterval);
        const int32_t status = arguments.traceUpload->m_status;
        const int32_t progress = arguments.traceUpload->m_upload_progress;
        if (std::exchange(lastProgress, progress) != progress)
            arguments.perform("progressUpdate");
        if (std::exchange(lastStatus, status) != status)
            arguments.perform("statusUpdate");
    } while (!polling.myShouldExitThread);
    polling.myShouldExitThread = false;
    polling.myHttpThread = false;
    // Ends where its requests run, if this was the last to hold it.
    platform::performOnMain([ended = std::move(arguments.traceUpload)] {});
}

// The controller is held on the main thread only, so that it never ends on another one. Nobody waits for this
// thread, so it may wait for the main thread.
void UploadViewController::ThreadArguments::perform(const char* what) const {
    platform::performOnMainAndWait([&] {
        if (const auto held = controller.lock())
            held->notifyMainThread(what);
    });
}

void UploadViewController::notifyMainThread(const std::string& what) {
    if (!uploadView || !m_traceUpload || !savedPath_.empty())
        return;
    if (what == "progressUpdate") {
        showProgress();
    } else if (what == "statusUpdate") {
        readStatus(m_traceUpload->m_status);
        showSuccessSteps();
        showFailedSteps();
    }
}

void UploadViewController::showProgress() {
    const int64_t percent = m_traceUpload->m_upload_progress;
    uploadView->showUploading_presentage(static_cast<uint32_t>(percent));
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begun_;
    // The first moments tell nothing.
    const bool isKnown = percent >= 5 && elapsed > 1s;
    const double left =
        isKnown ? elapsed.count() * static_cast<double>(100 - percent) / static_cast<double>(percent) : 0;
    uploadView->showTransferred(fileSize_ * percent / 100, fileSize_, static_cast<int64_t>(std::ceil(left)));
}

void UploadViewController::readStatus(int32_t status) {
    const auto fail = [this](bool& need, const char* reason) {
        tellUpload("failed", reason);
        need = true;
        steps_.needShowWarningInfo = true;
        polling_->myShouldExitThread = true;
    };
    using Uploader = CTraceUpload;
    const auto isOneOf = [status](std::initializer_list<int32_t> some) {
        return std::find(some.begin(), some.end(), status) != some.end();
    };
    // An empty file and an answered query change nothing, nor does any number that is not here.
    steps_.needShowPrepareStep |=
        isOneOf({Uploader::kStatusPrepared, Uploader::kStatusConnected, Uploader::kStatusQueryFailed,
                 Uploader::kStatusSending, Uploader::kStatusSendFailed, Uploader::kStatusSent,
                 Uploader::kStatusExceedFileNumber});
    steps_.needShowConnectingStep |=
        isOneOf({Uploader::kStatusConnected, Uploader::kStatusSending, Uploader::kStatusSendFailed,
                 Uploader::kStatusSent, Uploader::kStatusExceedFileNumber});
    steps_.needShowUploadingStep |= isOneOf({Uploader::kStatusSending, Uploader::kStatusSent});
    switch (status) {
        case Uploader::kStatusNoFile:
            fail(steps_.needShowPrepareFailedStep, "no archive");
            break;
        case Uploader::kStatusQueryFailed:
            fail(steps_.needShowConnectingFailedStep, "no connection");
            break;
        case Uploader::kStatusSendFailed:
            fail(steps_.needShowUploadingFailedStep, "not taken");
            break;
        case Uploader::kStatusSent:
            tellUpload("sent");
            steps_.needShowEmailConfirm_FinshStep = true;
            polling_->myShouldExitThread = true;
            break;
        case Uploader::kStatusExceedFileNumber:
            fail(steps_.needShowOverheadStep, "too many files");
            break;
        case Uploader::kStatusUntrusted:
            fail(steps_.needShowConnectingFailedStep, "the server's certificate does not verify");
            whyNotConnected_ = kTextCertificateInvalid;
            break;
        case Uploader::kStatusForbidden:
            fail(steps_.needShowConnectingFailedStep, "the administrator's policy forbids it");
            whyNotConnected_ = kTextAdministratorForbids;
            break;
        default:
            break;
    }
}

void UploadViewController::showSuccessSteps() {
    if (steps_.needShowPrepareStep && !steps_.prepareStep_alreadyshow) {
        uploadView->showReportPreparedStep(true);
        steps_.prepareStep_alreadyshow = true;
    }
    if (steps_.needShowConnectingStep && !steps_.connectingStep_alreadyshow) {
        uploadView->showConnectServerStep(true);
        steps_.connectingStep_alreadyshow = true;
    }
    if (steps_.needShowUploadingStep && !steps_.uploadingStep_alreadyshow) {
        uploadView->showUploadingToServerStep(true);
        // Not steps_.uploadingStep_alreadyshow: each later status draws the step again, and the next progress
        // corrects it.
        steps_.connectingStep_alreadyshow = true;
    }
    if (steps_.needShowEmailConfirm_FinshStep && !steps_.emailConfirm_SuccessStep_alreadyshow) {
        if (question_)
            question_->reject();
        uploadView->showEmailSend_FinishStep(m_emailAddress);
        steps_.emailConfirm_SuccessStep_alreadyshow = true;
    }
}

void UploadViewController::showFailedSteps() {
    if (!steps_.needShowWarningInfo)
        return;
    if (question_)
        question_->reject();
    if (steps_.needShowPrepareFailedStep && hasArchive())
        uploadView->showReportPreparedStep(false);
    else if (steps_.needShowPrepareFailedStep)
        uploadView->showReportFailed();
    if (steps_.needShowConnectingFailedStep)
        uploadView->showConnectServerStep(false);
    if (steps_.needShowConnectingFailedStep && whyNotConnected_)
        uploadView->tellWhyNotConnected(whyNotConnected_);
    if (steps_.needShowUploadingFailedStep)
        uploadView->showUploadingToServerStep(false);
    if (steps_.needShowOverheadStep)
        uploadView->showOverheadStep(false);
}

// Of what was sent the end is told once; of what was kept or failed, what the user did with it in the end.
void UploadViewController::tellUpload(const char* state, const char* reason) {
    sending_ = std::string_view(state) == "sending";
    services().uploadChanged({fileFullPath_, state, reason, comment_, std::atoll(catagory_.c_str())});
}

void UploadViewController::doRelease() {
    if (!m_traceUpload)
        return;
    if (sending_)
        tellUpload("cancelled");
    if (polling_->myHttpThread)
        platform::performOnMain([polling = polling_] { finishThread(*polling); });
    // The polling thread keeps it until it has seen that it shall end.
    m_traceUpload.reset();
}

void UploadViewController::detach() {
    doRelease();
    closeWindow_ = nullptr;
    if (question_)
        question_->reject();
    if (savePanel_) {
        savePanel_->setDelegate(nullptr);
        savePanel_->reject();
        savePanel_.clear();
    }
    if (!uploadView)
        return;
    uploadView->hide();
    // Deleted later: this may be running inside one of its own handlers.
    platform::performOnMain([view = std::exchange(uploadView, nullptr)] { delete view; });
}

void UploadViewController::closeWindow() {
    // A copy, as it may take itself away.
    if (const auto close = closeWindow_)
        close();
}

void UploadViewController::closeBtnClicked() {
    cancelBtnClicked();
}

void UploadViewController::cancelBtnClicked() {
    if (!sending_ || !uploadView) {
        leave();
    } else if (!question_) {
        question_ = dgaAsk(uploadView->window(), dgaText(kTextUploadRunning), dgaText(kTextStopUploading),
                           dgaText(kTextKeepUploading), uploadView, [this](bool stop) {
                               question_.clear();
                               if (stop)
                                   leave();
                           });
    }
}

void UploadViewController::leave() {
    services().sendTelemetryAction(DGATelemetryAction::uploadCancel);
    polling_->myShouldExitThread = true;
    closeWindow();
}

void UploadViewController::OKBtnClicked() {
    if (savedPath_.empty())
        services().sendTelemetryAction(DGATelemetryAction::uploadDone);
    closeWindow();
}

bool UploadViewController::hasArchive() const {
    std::error_code ignored;
    return !fileFullPath_.empty() && std::filesystem::exists(fileFullPath_, ignored);
}

void UploadViewController::tryAgainBtnClicked() {
    if (!hasArchive()) {
        // A copy, as it takes this controller's place.
        if (const auto again = tryAgain_)
            again();
        return;
    }
    if (savePanel_)
        savePanel_->reject();
    doRelease();
    polling_ = std::make_shared<Polling>();
    steps_ = {};
    whyNotConnected_ = nullptr;
    steps_.needShowPrepareStep = steps_.prepareStep_alreadyshow = true;
    uploadView->beginAgain();
    uploadView->showReportPreparedStep(true);
    setupParameters();
}

void UploadViewController::saveBtnClicked() {
    if (uploadView && !savePanel_ && parts_.policy().allows(DGAPolicyKey::save))
        savePanel_ = DGASavePanel::dga_showSavePanelWithName(fileNameOf(fileFullPath_), {"zip"},
                                                             uploadView->window(), this, {});
}

void UploadViewController::folderBtnClicked() {
    platform::showInFileManager(savedPath_);
}

bool UploadViewController::panel(DGASavePanel& /*panel*/, const std::optional<std::string>& validateURL,
                                 std::string* error) {
    if (!validateURL)
        return true;
    const std::string fault = hasArchive() ? dgaMoveArchive(fileFullPath_, *validateURL)
                                           : DGAUtilities::dga_localize(kTextReportGone);
    if (!fault.empty()) {
        if (error)
            *error = fault;
        return false;
    }
    tellUpload("saved");
    polling_->myShouldExitThread = true;
    savedPath_ = *validateURL;
    savePanel_.clear();  // it closes by itself
    uploadView->showSaved(savedPath_);
    return true;
}
