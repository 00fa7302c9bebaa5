#pragma once

#include <QHash>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DGAMonitor/Session/DGAPolicy.h"
#include "DGAMonitor/View/DGAMessage.h"
#include "DGAMonitor/View/DGASavePanel.h"
#include "DGAMonitor/View/DGAWindowController.h"
#include "DGAMonitor/View/SendReport/Controller/DGAKeptReportOffer.h"
#include "DGAMonitor/View/SendReport/Controller/DGAReportForm.h"
#include "DGAMonitor/View/SendReport/Controller/DGAReportListing.h"
#include "DGAMonitor/View/SendReport/View/DGADropDownListView.h"
#include "DGAMonitor/View/SendReport/View/DGANoticeLine.h"
#include "DGAMonitor/View/SendReport/View/DGAProblemReportingWindow.h"
#include "DGAMonitor/Windows/DGAWindowInterfaces.h"
#include "reportproblem/ReportMail.h"

namespace Ui {
class DGAProblemReportingWindowController;
}

/// The window in which the user describes a problem, picks what kind it is, and sends, mails or saves a
/// report. Where the client allows sending, Send opens the upload window; where it does not, a report is made
/// first and handed to the mail program, and Save offers to keep it as a file.
///
/// Language, service and permission to send are those of the moment at which it was opened. Who closes it
/// with something typed, or while a report is being made, is asked first; what was typed comes back at the
/// next opening until it was handed on.
///
/// Main thread. It may be closed or released at any time, also while a report is being made: nobody waits
/// for that report then, and its archive stays where it was made.
class DGAProblemReportingWindowController final
    : public DGAWindowController<DGAProblemReportingWindowInterface, DGAProblemReportingWindow>,
      private DGAReportGeneratorDelegate,
      private DGADropDownListViewDelegate,
      private DGASavePanelDelegate {
public:
    /// What it reaches beyond the window; what is left empty is the real thing.
    struct Parts {
        std::function<std::shared_ptr<DGAReportMaker>()> makeReportMaker;
        std::function<void(const ReportMail&, std::function<void(bool composed)>)> reportProblem;
        std::function<DGAPolicy()> policy = {};
    };

    DGAProblemReportingWindowController();
    explicit DGAProblemReportingWindowController(Parts parts);
    ~DGAProblemReportingWindowController() override;

    /// Shows the window in front, in the middle. One that was not visible begins anew; a visible one keeps
    /// what the user has entered.
    void showPRWindow() override;
    void close() override;

    /// The number of a category by its title in the user's language; 0 for an unknown one.
    int64_t fetchProblemCatagoryByTitle(const QString& title) const;

private:
    void doInitialization();
    void connectActions();
    void dealProblemCatagory();
    void beginNewReport();
    void restoreDraft();
    void keepDraft();
    void endDraft();
    void leave(std::function<void()> left);

    // What the controls tell.
    void controlTextDidChange();
    void dropDownListDidSelect(DGADropDownListView& listView, const QString& categoryTitle) override;
    void sendReportBtnClicked();
    void saveBtnClicked();
    void cancelBtnClicked();
    void closeBtnClicked();
    void contentsBtnClicked();

    void changeWindowStatus(bool status);
    void refreshForm();
    void refreshControls(bool complete);

    DGAReportOptions options() const;
    bool showUploadWindow(const DGAReportOptions& options);
    void offerKept();
    void saveKept(const std::string& number);
    bool endKept();
    void generateReport();
    void abandonReport();
    void reportHasNoPicture() override { lacksPicture_ = true; }
    void reportFileGeneratedAt(const std::string& path) override;
    void reportFailed(const std::string& reason) override;
    void generateReportMailWithFilePath(const std::string& path);
    void mailEnded(bool composed);
    void offerAgain(const char* text);
    void tellSaved(const char* text, const std::string& path);
    void tellDone(const QString& text, const std::vector<DGANoticeLine::Action>& actions);
    void saveWithFilePath(const std::string& path);
    bool panel(DGASavePanel& panel, const std::optional<std::string>& validateURL,
               std::string* error) override;
    void judgePanelStatusWithIndex(int index);

    Parts parts_;
    DGAReportFormRights rights_;
    std::unique_ptr<Ui::DGAProblemReportingWindowController> ui_;
    std::shared_ptr<DGAReportMaker> maker_;
    QStringList titleListArr_;
    QHash<QString, int64_t> titleListDic_;
    int64_t problemCatagory_;
    std::optional<QString> problemCatagoryTitle_;
    bool isSaveBtnClicked_ = false;
    std::string filePath_;
    bool lacksPicture_ = false;  ///< the archive, though one was asked for

    DGAKeptReportOffer kept_;
    std::string savesKept_;  ///< the number of the kept report that is being saved
    DGAReportListing listing_;
    bool sends_ = false;
    int64_t serviceType_ = 0;
    QTimer draftTimer_;
    bool isHandedOn_ = false;  ///< what is entered has been saved or mailed as it is
    QPointer<QMessageBox> question_;
    bool status_ = true;  ///< false from the click that makes a report until its archive has been dealt with
    QPointer<DGASavePanel> panel_;
    std::shared_ptr<DGAReportGeneratorDelegate> awaiting_;  ///< this, as long as a report is waited for
};
