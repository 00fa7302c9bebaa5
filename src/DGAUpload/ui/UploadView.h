#pragma once

#include <QFont>
#include <QWidget>
#include <array>
#include <cstdint>
#include <memory>
#include <string>

class DGAImageView;
class LarimoNotificationView;
class QBoxLayout;
class QLabel;

namespace Ui {
class uploadView;
}

/// Told which button the user has pressed.
class UploadViewDelegate {
public:
    virtual ~UploadViewDelegate() = default;
    virtual void closeBtnClicked() = 0;
    virtual void tryAgainBtnClicked() = 0;
    virtual void saveBtnClicked() = 0;
    virtual void folderBtnClicked() = 0;
    virtual void OKBtnClicked() = 0;
    virtual void cancelBtnClicked() = 0;
};

/// The steps of an upload, one line each, with a wheel beside the one that goes on, how far it is, a banner
/// where one has failed, the report's number in the end, and the buttons that fit. It knows nothing of the
/// upload; it is told which step to show. Screen readers hear each step and the result.
class UploadView final : public QWidget {
    Q_OBJECT

public:
    explicit UploadView(QWidget* parent = nullptr);
    ~UploadView() override;

    void setDelegate(std::weak_ptr<UploadViewDelegate> delegate) { delegate_ = std::move(delegate); }

    /// Whatever is prepared holds no picture of the screen, which the first step tells.
    void setLacksPicture() { lacksPicture_ = true; }

    // The steps: true shows that one has succeeded, false that it has failed.
    void showReportPreparedStep(bool succeeded);
    /// There is no archive, so that nothing can be saved, but it may be made again.
    void showReportFailed();
    void showConnectServerStep(bool succeeded);
    /// In place of what the above says of a failure.
    void tellWhyNotConnected(const char* text);
    /// Whether the administrator's policy lets reports be saved.
    void setSavingAllowed(bool allowed) { savingAllowed_ = allowed; }
    void showUploadingToServerStep(bool succeeded);
    void showOverheadStep(bool succeeded);
    void showSizeExcessiveStep(bool succeeded);

    void showUploading_presentage(uint32_t percent);

    /// How much has arrived, in bytes, and in how many seconds the rest will have; 0 if that is not known.
    void showTransferred(int64_t sent, int64_t total, int64_t secondsLeft);

    /// The report was sent. An empty address is not told that it gets a mail.
    void showEmailSend_FinishStep(const std::string& emailAddress);

    /// Shows the banner of a failure, in place of an earlier one, and records the failure in the trace.
    /// 1 preparing, 2 connecting, 3 sending, 4 too many reports, 5 too large.
    void showWarningInfo(int32_t type);

    /// From now on the result has it, and it can be copied.
    void setReportNumber(std::string number) { number_ = std::move(number); }

    /// All steps are gone; the first one goes on again.
    void beginAgain();

    /// The archive was saved there, in place of whatever was shown as the result.
    void showSaved(const std::string& path);

    void showSaveReportButton();
    void showCancelButton();
    void showOkayButton();

    void startTimer(double interval);
    void stopTimer();
    void releaseImg();

    // The parts that the window takes care of: what stands for its frame, and what scrolls.
    QWidget& title();
    QWidget& closeButton();
    QBoxLayout& steps();

protected:
    void showEvent(QShowEvent* event) override;

private:
    struct Row {
        QBoxLayout* layout;
        DGAImageView* image;
        QLabel* label;
    };

    void awakeFromNib();
    void initialContentView();
    void initialTexts();
    void moveSpinner(size_t row);
    void setText(QLabel& label, const QString& text);
    void showUploadingStep(bool succeeded, const char* failure, int32_t warning);
    void showBanner(int style, const QString& text, size_t row);
    void showResult();
    void showTryAgainButton();
    void copyNumber();
    void showError(size_t row);
    void stopSpinner();
    static void saveTrace(const char* basicInfo);

    void closeBtnClicked() { tell(&UploadViewDelegate::closeBtnClicked); }
    void tryAgainBtnClicked() { tell(&UploadViewDelegate::tryAgainBtnClicked); }
    void saveBtnClicked() { tell(&UploadViewDelegate::saveBtnClicked); }
    void folderBtnClicked() { tell(&UploadViewDelegate::folderBtnClicked); }
    void OKBtnClicked() { tell(&UploadViewDelegate::OKBtnClicked); }
    void cancelBtnClicked() { tell(&UploadViewDelegate::cancelBtnClicked); }
    void tell(void (UploadViewDelegate::*what)());

    std::unique_ptr<Ui::uploadView> ui_;
    QFont m_stepLabelfont;
    LarimoNotificationView* warnView_ = nullptr;
    std::array<Row, 5> rows_{};
    std::string number_;
    bool savingAllowed_ = true;
    bool lacksPicture_ = false;
    std::weak_ptr<UploadViewDelegate> delegate_;
};
