#pragma once

#include <QMessageBox>
#include <QPointer>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "DGAMonitor/Session/DGAPolicy.h"
#include "DGAMonitor/Session/DGAReportMaker.h"
#include "DGAMonitor/View/DGASavePanel.h"
#include "DGAUpload/logic/CTraceUpload.h"
#include "DGAUpload/ui/UploadView.h"

/// Makes one report, sends it, and has the view show how far it is. A thread of its own asks the uploader
/// every half second and hands each change to the main thread; everything else is for the main thread. A
/// shared pointer owns it.
class UploadViewController final : public UploadViewDelegate,
                                   public DGAReportGeneratorDelegate,
                                   public DGASavePanelDelegate,
                                   public std::enable_shared_from_this<UploadViewController> {
public:
    /// What it works with; one that is left empty is made anew for each report.
    struct Parts {
        std::shared_ptr<DGAReportMaker> reportMaker;
        std::function<std::shared_ptr<CTraceUpload>()> makeUploader;
        std::function<DGAPolicy()> policy = {};
    };

    /// `closeWindow` closes the window that the view lies in, and may release this controller soon.
    UploadViewController(Parts parts, std::function<void()> closeWindow);
    ~UploadViewController() override;
    UploadViewController(const UploadViewController&) = delete;
    UploadViewController& operator=(const UploadViewController&) = delete;

    // What the report is to contain. Before the view is loaded.
    void setOptions(const DGAReportOptions& options) { options_ = options; }
    void setComment(std::string comment) { comment_ = std::move(comment); }
    void setCatagory(std::string catagory) { catagory_ = std::move(catagory); }

    /// The view. The first call loads it, which begins to make the report.
    UploadView& view();

    /// Ends the upload and gives up the view: nothing that happens later has an effect.
    void detach();

    void reportHasNoPicture() override;
    void reportFileGeneratedAt(const std::string& path) override;
    void reportFailed(const std::string& reason) override;

    /// Begins anew, in place of this controller, where the user wants a failed report tried again.
    void setTryAgain(std::function<void()> tryAgain) { tryAgain_ = std::move(tryAgain); }

    /// Shows the uploader's "progressUpdate" or "statusUpdate".
    void notifyMainThread(const std::string& what);

    /// Asks first where the report is being sent.
    void closeBtnClicked() override;
    /// With the same archive, if it is still there.
    void tryAgainBtnClicked() override;
    void saveBtnClicked() override;
    void folderBtnClicked() override;
    void OKBtnClicked() override;
    void cancelBtnClicked() override;

    /// Moves the archive to the chosen place, which the view shows then. False, and why, if that fails.
    bool panel(DGASavePanel& panel, const std::optional<std::string>& validateURL,
               std::string* error) override;

    /// Null before the upload and after it was released.
    const std::shared_ptr<CTraceUpload>& traceUpload() const { return m_traceUpload; }

    /// Whether the polling thread runs.
    bool isPolling() const { return polling_->myHttpThread; }

private:
    // What the polling thread and the main thread share. The thread may outlive the controller.
    struct Polling {
        std::atomic<bool> myShouldExitThread{false};
        std::atomic<bool> myHttpThread{false};  // whether the thread runs
    };
    struct ThreadArguments {
        std::shared_ptr<Polling> polling;
        std::shared_ptr<CTraceUpload> traceUpload;
        std::weak_ptr<UploadViewController> controller;

        void perform(const char* what) const;
    };

    void awakeFromNib();
    void generateReport();
    void setupParameters();
    void passParameters();
    void startPolling();
    static void threadEntry(ThreadArguments arguments);
    static void finishThread(Polling& polling) { polling.myShouldExitThread = true; }
    void doRelease();
    void readStatus(int32_t status);
    void tellUpload(const char* state, const char* reason = "");
    void showProgress();
    bool hasArchive() const;
    void leave();
    void showSuccessSteps();
    void showFailedSteps();
    void closeWindow();

    std::shared_ptr<Polling> polling_ = std::make_shared<Polling>();

    /// Which steps the status calls for, and which have been drawn.
    struct Steps {
        bool needShowPrepareStep = false;
        bool needShowConnectingStep = false;
        bool needShowUploadingStep = false;
        bool needShowEmailConfirm_FinshStep = false;
        bool prepareStep_alreadyshow = false;
        bool connectingStep_alreadyshow = false;
        bool uploadingStep_alreadyshow = false;
        bool emailConfirm_SuccessStep_alreadyshow = false;

        bool needShowPrepareFailedStep = false;
        bool needShowConnectingFailedStep = false;
        bool needShowUploadingFailedStep = false;
        bool needShowOverheadStep = false;
        bool needShowWarningInfo = false;
    };

    Steps steps_;
    const char* whyNotConnected_ = nullptr;  ///< a text's key; null if it is not known

    QPointer<UploadView> uploadView;
    std::string m_emailAddress;
    std::shared_ptr<CTraceUpload> m_traceUpload;

    DGAReportOptions options_;
    std::string comment_;
    std::string catagory_;
    std::shared_ptr<DGAReportMaker> maker_;
    std::string fileFullPath_;
    std::string savedPath_;  ///< where the user has put it
    int64_t fileSize_ = 0;   ///< bytes
    std::chrono::steady_clock::time_point begun_;
    std::function<void()> tryAgain_;
    bool sending_ = false;  ///< the assistant was told so, and not yet how it ended

    Parts parts_;
    std::function<void()> closeWindow_;
    QPointer<DGASavePanel> savePanel_;
    QPointer<QMessageBox> question_;
};
