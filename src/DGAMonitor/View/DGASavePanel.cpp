#include "DGAMonitor/View/DGASavePanel.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLayout>
#include <QLineEdit>
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
#include "platform/SaveDialogPortal.h"

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

QString parentName(const QWidget& window) {
    return QGuiApplication::platformName() == QLatin1String("xcb")
               ? QStringLiteral("x11:") + QString::number(window.winId(), 16)
               : QString();
}

// Whether the theme's dialog shows in place of the toolkit's.
bool isDesktops(const QFileDialog& dialog) {
    return dialog.testAttribute(Qt::WA_DontShowOnScreen);
}

/// The toolkit's dialog. The desktop's theme shows its own in its place, if it has one; but for no class of
/// another name, so that this one has no Q_OBJECT.
class Dialog final : public QFileDialog {
public:
    Dialog(QWidget* window, std::function<void(const QString& path)> chosen);

    void accept() override;

private:
    void arrange();

    std::function<void(const QString& path)> chosen_;
};

Dialog::Dialog(QWidget* window, std::function<void(const QString& path)> chosen)
    : QFileDialog(window), chosen_(std::move(chosen)) {
    setAcceptMode(QFileDialog::AcceptSave);
    setFileMode(QFileDialog::AnyFile);
    setWindowModality(Qt::WindowModal);
    setLabelText(QFileDialog::Accept, dgaText(lDGAProblemReportWindowSaveBtnStr));
    setLabelText(QFileDialog::Reject, dgaText(lDGACancelStr));
    setWindowTitle(dgaText(lDGAProblemReportWindowSaveBtnStr));
    if (layout())
        arrange();
}

// Calm and wide enough: no icons on the buttons, the places where people keep files, no column cut off.
void Dialog::arrange() {
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
    // What is typed is what is meant: a completion that comes while Return is pressed would take its place.
    if (auto* const name = findChild<QLineEdit*>(QStringLiteral("fileNameEdit")))
        name->setCompleter(nullptr);
    if (auto* const splitter = findChild<QSplitter*>())
        splitter->setSizes({kSidebarWidth, kPanelWidth - kSidebarWidth});
    if (auto* const files = findChild<QTreeView*>()) {
        files->header()->setSectionResizeMode(0, QHeaderView::Stretch);
        files->header()->setStretchLastSection(false);
    }
    layout()->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    resize(kPanelWidth, kPanelHeight);
}

void Dialog::accept() {
    if (isHidden())
        return;  // a second Return, read after the first one has closed it
    const QString chosen = selectedFiles().value(0);
    if (!isDesktops(*this) && (chosen.isEmpty() || QFileInfo(chosen).isDir())) {
        QFileDialog::accept();  // goes into the folder
        return;
    }
    if (isDesktops(*this))
        hide();  // GTK's stays, and could be answered again under a question
    chosen_(chosen);
}

}  // namespace

DGASavePanel::DGASavePanel(QWidget* window) : QObject(window), window_(window) {}

DGASavePanel::~DGASavePanel() = default;

DGASavePanel* DGASavePanel::dga_showSavePanelWithName(const std::string& name,
                                                      const std::vector<std::string>& allowedFileTypes,
                                                      QWidget* modelWindow, DGASavePanelDelegate* delegate,
                                                      std::function<void(int result)> handler) {
    auto* const panel = new DGASavePanel(modelWindow);
    for (const auto& type : allowedFileTypes)
        panel->endings_ << QStringLiteral(".") + QString::fromStdString(type);
    panel->name_ = panel->withAllowedEnding(QString::fromStdString(name));
    panel->delegate_ = delegate;
    panel->handler_ = std::move(handler);
    panel->ask();
    return panel;
}

void DGASavePanel::ask() {
    using Portal = platform::SaveDialogPortal;
    const std::string title = dgaText(lDGAProblemReportWindowSaveBtnStr).toStdString();
    portal_ = std::make_unique<Portal>(Portal::Question{.title = title,
                                                        .accept = title,
                                                        .folder = startFolder().toStdString(),
                                                        .name = name_.toStdString(),
                                                        .parent = parentName(*window_).toStdString()},
                                       [this](Portal::End end, const std::string& path) {
                                           if (end == Portal::End::chosen)
                                               judge(QString::fromStdString(path), true);
                                           else if (end == Portal::End::cancelled)
                                               reject();
                                           else
                                               openDialog();
                                       });
}

void DGASavePanel::openDialog() {
    dgaUseToolkitTexts();  // the language may have changed since the window was made
    auto* const dialog =
        new Dialog(window_, [this](const QString& path) { judge(path, isDesktops(*dialog_)); });
    QStringList filters;
    for (const QString& ending : endings_)
        filters << QStringLiteral("*") + ending;
    if (!filters.isEmpty())
        dialog->setNameFilter(filters.join(QLatin1Char(' ')));
    dialog->setDirectory(startFolder());
    dialog->selectFile(name_);
    connect(dialog, &QDialog::rejected, this, &DGASavePanel::reject);
    dialog_ = dialog;
    dialog->open();
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

// The desktop's own dialogs have asked before they let an existing file be chosen, and are gone by now.
void DGASavePanel::judge(const QString& chosen, bool isAsked) {
    const QString path = withAllowedEnding(chosen);
    if (!canBeWritten(path))
        tell(dgaText(lDGANoFilePermissionStr));
    else if (QFileInfo::exists(path) && !(isAsked && path == chosen))
        confirmReplacing(path);
    else
        take(path);
}

QWidget* DGASavePanel::asker() const {
    return dialog_ && !isDesktops(*dialog_) ? dialog_.data() : window_;
}

void DGASavePanel::tell(const QString& text) {
    auto* const message = dgaTell(asker(), text);
    if (asker() == window_)
        connect(message, &QDialog::finished, this, &DGASavePanel::askAgain);
}

void DGASavePanel::askAgain() {
    if (ended_)
        return;
    if (dialog_) {
        dialog_->hide();
        dialog_->deleteLater();
    }
    ask();
}

void DGASavePanel::confirmReplacing(const QString& path) {
    const QString question =
        QFileDialog::tr("%1 already exists.\nDo you want to replace it?").arg(QFileInfo(path).fileName());
    dgaAsk(asker(), question, QCoreApplication::translate("QPlatformTheme", "&Yes"),
           QCoreApplication::translate("QPlatformTheme", "&No"), this, [this, path](bool yes) {
               if (ended_)
                   return;
               if (yes)
                   take(path);
               else if (asker() == window_)
                   askAgain();
           });
}

void DGASavePanel::take(const QString& path) {
    std::string error;
    if (!delegate_ || delegate_->panel(*this, path.toStdString(), &error))
        end(kChosen);
    else if (!error.empty())
        tell(QString::fromStdString(error));
}

void DGASavePanel::end(int result) {
    if (std::exchange(ended_, true))
        return;
    portal_.reset();
    if (dialog_)
        dialog_->hide();
    if (const auto handler = std::exchange(handler_, nullptr))
        handler(result);
    platform::performOnMain([guarded = QPointer<DGASavePanel>(this)] {
        if (!guarded)
            return;
        // The keyboard goes back where it came from also when a question over the panel closes with it.
        if (guarded->window_->isVisible())
            guarded->window_->activateWindow();
        delete guarded->dialog_;
        delete guarded;
    });
}
