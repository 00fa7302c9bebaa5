#include "DGAMonitor/View/DGASavePanel.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QHeaderView>
#include <QLayout>
#include <QPointer>
#include <QPushButton>
#include <QSplitter>
#include <QStandardPaths>
#include <QTreeView>
#include <QUrl>
#include <utility>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/View/DGAMessage.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/View/DGAToolkitTexts.h"
#include "platform/RunLoop.h"

namespace {

constexpr int kPanelWidth = 720;
constexpr int kPanelHeight = 440;
constexpr int kSidebarWidth = 152;
constexpr int kMargin = 2 * DGAStyle::kGrid;

QString startFolder() {
    for (const auto place : {QStandardPaths::DownloadLocation, QStandardPaths::DocumentsLocation}) {
        QString folder = QStandardPaths::writableLocation(place);
        if (QFileInfo(folder).isDir() && QFileInfo(folder).isWritable())
            return folder;
    }
    return QDir::homePath();
}

bool canBeWritten(const QString& path) {
    const QFileInfo file(path);
    const QFileInfo folder(file.absolutePath());
    return folder.isDir() && folder.isWritable() && (!file.exists() || file.isFile());
}

}  // namespace

DGASavePanel::DGASavePanel(QWidget* window) : QFileDialog(window) {
    dgaUseToolkitTexts();  // the language may have changed since the window was made
    setOption(QFileDialog::DontUseNativeDialog);
    // The question is asked here: the toolkit's would run a loop of its own inside accept().
    setOption(QFileDialog::DontConfirmOverwrite);
    setAcceptMode(QFileDialog::AcceptSave);
    setFileMode(QFileDialog::AnyFile);
    setWindowModality(Qt::WindowModal);
    setLabelText(QFileDialog::Accept, dgaText(lDGAProblemReportWindowSaveBtnStr));
    setLabelText(QFileDialog::Reject, dgaText(lDGACancelStr));
    setWindowTitle(dgaText(lDGAProblemReportWindowSaveBtnStr));
    arrange();
}

// Calm and wide enough: no icons on the buttons, the places where people keep files, no column cut off.
void DGASavePanel::arrange() {
    for (auto* const button : findChildren<QPushButton*>())
        button->setIcon({});
    QList<QUrl> places;
    for (const auto place : {QStandardPaths::HomeLocation, QStandardPaths::DesktopLocation,
                             QStandardPaths::DocumentsLocation, QStandardPaths::DownloadLocation}) {
        const QUrl url = QUrl::fromLocalFile(QStandardPaths::writableLocation(place));
        if (QFileInfo(url.toLocalFile()).isDir() && !places.contains(url))
            places << url;
    }
    setSidebarUrls(places);
    if (auto* const splitter = findChild<QSplitter*>())
        splitter->setSizes({kSidebarWidth, kPanelWidth - kSidebarWidth});
    if (auto* const files = findChild<QTreeView*>()) {
        files->header()->setSectionResizeMode(0, QHeaderView::Stretch);
        files->header()->setStretchLastSection(false);
    }
    layout()->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    resize(kPanelWidth, kPanelHeight);
}

DGASavePanel* DGASavePanel::dga_showSavePanelWithName(const std::string& name,
                                                      const std::vector<std::string>& allowedFileTypes,
                                                      QWidget* modelWindow, DGASavePanelDelegate* delegate,
                                                      std::function<void(int result)> handler) {
    auto* const panel = new DGASavePanel(modelWindow);
    QStringList filters;
    for (const auto& type : allowedFileTypes) {
        panel->endings_ << QStringLiteral(".") + QString::fromStdString(type);
        filters << QStringLiteral("*") + panel->endings_.last();
    }
    if (!filters.isEmpty())
        panel->setNameFilter(filters.join(QLatin1Char(' ')));
    panel->setDirectory(startFolder());
    panel->selectFile(panel->withAllowedEnding(QString::fromStdString(name)));
    panel->delegate_ = delegate;
    connect(panel, &QDialog::finished, panel, [panel, done = std::move(handler)](int result) {
        if (done)
            done(result == QDialog::Accepted ? kChosen : kCancelled);
        platform::performOnMain([guarded = QPointer<QWidget>(panel)] {
            // The keyboard goes back where it came from also when a question over the panel closes with it.
            if (guarded && guarded->parentWidget() && guarded->parentWidget()->isVisible())
                guarded->parentWidget()->activateWindow();
            delete guarded;
        });
    });
    panel->open();
    return panel;
}

std::string DGASavePanel::freePathFor(const std::string& name) {
    const QString path = startFolder() + QLatin1Char('/') + QString::fromStdString(name);
    const QFileInfo file(path);
    QString free = path;
    for (int number = 2; QFileInfo::exists(free); ++number)
        free = QStringLiteral("%1/%2-%3.%4")
                   .arg(file.path(), file.completeBaseName(), QString::number(number), file.suffix());
    return free.toStdString();
}

QString DGASavePanel::withAllowedEnding(const QString& path) const {
    for (const QString& ending : endings_) {
        if (path.endsWith(ending, Qt::CaseInsensitive))
            return path;
    }
    return endings_.isEmpty() ? path : path + endings_.first();
}

void DGASavePanel::accept() {
    if (isHidden())
        return;  // a second Return, read after the first one has closed it
    const QStringList chosen = selectedFiles();
    if (chosen.isEmpty() || QFileInfo(chosen.first()).isDir()) {
        QFileDialog::accept();  // goes into the folder
        return;
    }
    const QString path = withAllowedEnding(chosen.first());
    if (!canBeWritten(path))
        dgaTell(this, dgaText(lDGANoFilePermissionStr));
    else if (QFileInfo::exists(path))
        confirmReplacing(path);
    else
        take(path);
}

void DGASavePanel::confirmReplacing(const QString& path) {
    const QString question =
        QFileDialog::tr("%1 already exists.\nDo you want to replace it?").arg(QFileInfo(path).fileName());
    dgaAsk(this, question, QCoreApplication::translate("QPlatformTheme", "&Yes"),
           QCoreApplication::translate("QPlatformTheme", "&No"), this, [this, path](bool yes) {
               if (yes && !isHidden())
                   take(path);
           });
}

void DGASavePanel::take(const QString& path) {
    std::string error;
    if (delegate_ && !delegate_->panel(*this, path.toStdString(), &error)) {
        if (!error.empty())
            dgaTell(this, QString::fromStdString(error));
        return;
    }
    done(QDialog::Accepted);
}
