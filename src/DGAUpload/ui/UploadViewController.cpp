#include "DGAUpload/ui/UploadViewController.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "DGAMonitor/Utilities/DGAUtilitiesFiles.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "platform/FileMove.h"
#include "platform/RunLoop.h"
#include "support/ORVNLogger.h"

namespace {

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
    needShowPrepareStep = true;
    generateReport();
}

void UploadViewController::generateReport() {
    ORVN_LOG_METHOD();
    if (!maker_)
        maker_ = parts_.reportMaker ? parts_.reportMaker : services().makeReportMaker();
    maker_->setDelegate(weak_from_this());
    maker_->startGenerateReportIfScreenShot(options_, {});
}

void UploadViewController::reportFileGeneratedAt(const std::string& path) {
    if (!uploadView)
        return;
    if (!prepareStep_alreadyshow && needShowPrepareStep) {
        uploadView->showReportPreparedStep(true);
        prepareStep_alreadyshow = true;
    }
    ORVN_LOG_METHOD();
    fileFullPath_ = path + ".zip";
    if (DGAUtilities::dga_fetchFileSizeAt(fileFullPath_) < kSizeLimit)
        setupParameters();
    else
        uploadView->showSizeExcessiveStep(false);
}

void UploadViewController::reportFailed(const std::string& /*reason*/) {
    failed_ = true;
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
    if (!uploadView || !m_traceUpload)
        return;
    if (what == "progressUpdate") {
        uploadView->showUploading_presentage(static_cast<uint32_t>(m_traceUpload->m_upload_progress.load()));
    } else if (what == "statusUpdate") {
        readStatus(m_traceUpload->m_status);
        showSuccessSteps();
        showFailedSteps();
    }
}

void UploadViewController::readStatus(int32_t status) {
    const auto fail = [this](bool& need, const char* reason) {
        tellUpload("failed", reason);
        need = true;
        needShowWarningInfo = true;
        polling_->myShouldExitThread = true;
    };
    using Uploader = CTraceUpload;
    const auto isOneOf = [status](std::initializer_list<int32_t> some) {
        return std::find(some.begin(), some.end(), status) != some.end();
    };
    // An empty file and an answered query change nothing, nor does any number that is not here.
    needShowPrepareStep |=
        isOneOf({Uploader::kStatusPrepared, Uploader::kStatusConnected, Uploader::kStatusQueryFailed,
                 Uploader::kStatusSending, Uploader::kStatusSendFailed, Uploader::kStatusSent,
                 Uploader::kStatusExceedFileNumber});
    needShowConnectingStep |=
        isOneOf({Uploader::kStatusConnected, Uploader::kStatusSending, Uploader::kStatusSendFailed,
                 Uploader::kStatusSent, Uploader::kStatusExceedFileNumber});
    needShowUploadingStep |= isOneOf({Uploader::kStatusSending, Uploader::kStatusSent});
    switch (status) {
        case Uploader::kStatusNoFile:
            fail(needShowPrepareFailedStep, "no archive");
            break;
        case Uploader::kStatusQueryFailed:
            fail(needShowConnectingFailedStep, "no connection");
            break;
        case Uploader::kStatusSendFailed:
            fail(needShowUploadingFailedStep, "not taken");
            break;
        case Uploader::kStatusSent:
            tellUpload("sent");
            needShowEmailConfirm_FinshStep = true;
            polling_->myShouldExitThread = true;
            break;
        case Uploader::kStatusExceedFileNumber:
            fail(needShowOverheadStep, "too many files");
            break;
        case Uploader::kStatusUntrusted:
            fail(needShowConnectingFailedStep, "the server's certificate does not verify");
            whyNotConnected_ = kTextCertificateInvalid;
            break;
        case Uploader::kStatusForbidden:
            fail(needShowConnectingFailedStep, "the administrator's policy forbids it");
            whyNotConnected_ = kTextAdministratorForbids;
            break;
        default:
            break;
    }
}

void UploadViewController::showSuccessSteps() {
    if (needShowPrepareStep && !prepareStep_alreadyshow) {
        uploadView->showReportPreparedStep(true);
        prepareStep_alreadyshow = true;
    }
    if (needShowConnectingStep && !connectingStep_alreadyshow) {
        uploadView->showConnectServerStep(true);
        connectingStep_alreadyshow = true;
    }
    if (needShowUploadingStep && !uploadingStep_alreadyshow) {
        uploadView->showUploadingToServerStep(true);
        // Not uploadingStep_alreadyshow: each later status draws the step again, and the next progress
        // corrects it.
        connectingStep_alreadyshow = true;
    }
    if (needShowEmailConfirm_FinshStep && !emailConfirm_SuccessStep_alreadyshow) {
        uploadView->showEmailSend_FinishStep(m_emailAddress);
        emailConfirm_SuccessStep_alreadyshow = true;
    }
}

void UploadViewController::showFailedSteps() {
    if (!needShowWarningInfo)
        return;
    if (needShowPrepareFailedStep)
        uploadView->showReportPreparedStep(false);
    if (needShowConnectingFailedStep)
        uploadView->showConnectServerStep(false);
    if (needShowConnectingFailedStep && whyNotConnected_)
        uploadView->tellWhyNotConnected(whyNotConnected_);
    if (needShowUploadingFailedStep)
        uploadView->showUploadingToServerStep(false);
    if (needShowOverheadStep)
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
    services().sendTelemetryAction(DGATelemetryAction::uploadCancel);
    polling_->myShouldExitThread = true;
    closeWindow();
}

void UploadViewController::OKBtnClicked() {
    services().sendTelemetryAction(DGATelemetryAction::uploadDone);
    closeWindow();
}

void UploadViewController::saveBtnClicked() {
    // The button's other meaning where there is nothing to save.
    if (const auto again = tryAgain_; failed_ && again)
        again();
    else if (uploadView && !savePanel_ && parts_.policy().allows(DGAPolicyKey::save))
        savePanel_ = DGASavePanel::dga_showSavePanelWithName(fileNameOf(fileFullPath_), {"zip"},
                                                             uploadView->window(), this, {});
}

bool UploadViewController::panel(DGASavePanel& /*panel*/, const std::optional<std::string>& validateURL,
                                 std::string* /*error*/) {
    std::error_code ignored;
    if (!std::filesystem::exists(fileFullPath_, ignored))
        return true;
    if (validateURL && platform::moveFile(fileFullPath_, *validateURL))
        tellUpload("saved");
    polling_->myShouldExitThread = true;
    savePanel_.clear();  // it closes by itself
    closeWindow();
    return true;
}
