#pragma once

#include <QPixmap>
#include <QString>
#include <string>

#include "DGAMonitor/Session/DGAReportMaker.h"
#include "DGAMonitor/View/DGAWindowBase.h"

class DGAButton;
class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

/// What people are about to send: each file with its size and what it is, the picture of the screen, and
/// their own details. A click on a file shows its text, the boxes before them leave files out. Over its
/// parent, which waits.
class DGAReportContentsWindow final : public DGAWindowBase {
    Q_OBJECT

public:
    /// Whom the report goes to, and what of the person goes with it.
    struct Receiver {
        QString host;  ///< "" where the user decides
        QStringList details;
    };

    DGAReportContentsWindow(const Receiver& receiver, QWidget* parent);

    /// Shows these files; those named in `without` are not wanted.
    void setContents(const DGAReportContents& contents, const std::vector<std::string>& without);

    /// Says, while the picture is still to come, that the desktop asks the user for permission.
    void setAwaitingPermission();

signals:
    /// The user wants a file in the report, or does not.
    void wantedChanged(const std::string& name, const std::string& kind, bool wanted);
    void retakeWanted();

private:
    void makePicture();
    void addFile(const DGAReportContent& file, bool wanted);
    void fileChanged(QTreeWidgetItem* item);
    void fileClicked(QTreeWidgetItem* item);
    void showText(const QString& title, const std::string& path);
    void enlargePicture();
    void refreshPicture(const DGAReportContents& contents);
    QSize roomForPicture() const;

    QTreeWidget* files_;
    QWidget* pictureRow_;
    QPushButton* thumbnail_;
    QLabel* pictureNote_;
    DGAButton* retake_;
    QPixmap picture_;
    bool isComplete_ = false;
    bool isFilling_ = false;
    bool wasToggled_ = false;  // by the click that is still to be told
};
