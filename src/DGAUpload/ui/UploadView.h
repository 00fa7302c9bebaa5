#pragma once

#include <QFont>
#include <QWidget>
#include <array>
#include <cstdint>
#include <memory>
#include <string>

class DGAImageView;
class LarimoNotificationView;
class QLabel;

namespace Ui {
class uploadView;
}

/// Told which button the user has pressed.
class UploadViewDelegate {
public:
    virtual ~UploadViewDelegate() = default;
    virtual void closeBtnClicked() = 0;
    virtual void saveBtnClicked() = 0;
    virtual void OKBtnClicked() = 0;
    virtual void cancelBtnClicked() = 0;
};

/// The steps of an upload, one line each, with a wheel beside the one that goes on, a banner where one has
/// failed, and the buttons that fit. It knows nothing of the upload; it is told which step to show. The
/// places of everything are those of the design; a text that needs more room pushes what lies below it, and
/// the view grows.
class UploadView final : public QWidget {
    Q_OBJECT

public:
    explicit UploadView(QWidget* parent = nullptr);
    ~UploadView() override;

    void setDelegate(std::weak_ptr<UploadViewDelegate> delegate) { delegate_ = std::move(delegate); }

    // The steps: true shows that one has succeeded, false that it has failed.
    void showReportPreparedStep(bool succeeded);
    /// There is no archive, so that nothing can be saved: the save button becomes "Try Again".
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

    /// The report was sent. An empty address is not told that it gets a mail.
    void showEmailSend_FinishStep(const std::string& emailAddress);

    /// Shows the banner of a failure, in place of an earlier one, and records the failure in the trace.
    /// 1 preparing, 2 connecting, 3 sending, 4 too many reports, 5 too large.
    void showWarningInfo(int32_t type);

    void showSaveReportButton();
    void showCancelButton();
    void showOkayButton();

    void startTimer(double interval);
    void stopTimer();
    void releaseImg();

    QSize sizeHint() const override { return size_; }

protected:
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool savingAllowed_ = true;
    /// A step's line: where the design has its image and its label, and what comes below.
    struct Row {
        DGAImageView* image;
        QLabel* label;
        int imageY;
        int labelY;
        int labelHeight;  // the least
        int below;        // where the next line begins
    };

    void awakeFromNib();
    void initialContentView();
    void initialTexts();
    void initialRows();
    void UIlayout();
    int layoutRow(size_t number, int push);
    QSize layoutButtons(int contentBottom);
    void redraw();
    void setText(QLabel& label, const QString& text);
    void showUploadingStep(bool succeeded, const char* failure, int32_t warning);
    static void showError(DGAImageView& image);
    void stopSpinner();
    static void saveTrace(const char* basicInfo);

    void closeBtnClicked() { tell(&UploadViewDelegate::closeBtnClicked); }
    void saveBtnClicked() { tell(&UploadViewDelegate::saveBtnClicked); }
    void OKBtnClicked() { tell(&UploadViewDelegate::OKBtnClicked); }
    void cancelBtnClicked() { tell(&UploadViewDelegate::cancelBtnClicked); }
    void tell(void (UploadViewDelegate::*what)());

    std::unique_ptr<Ui::uploadView> ui_;
    QFont m_stepLabelfont;
    LarimoNotificationView* warnView_ = nullptr;
    int warningType_ = 0;    // of the banner
    size_t spinnerRow_ = 1;  // counted from 1
    std::array<Row, 5> rows_{};
    std::weak_ptr<UploadViewDelegate> delegate_;
    QSize size_;
};
