#include "DGAMonitor/View/SendReport/View/DGAReportContentsWindow.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPlainTextEdit>
#include <QScreen>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <utility>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/View/DGAMessage.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/View/SendReport/View/DGAButton.h"
#include "platform/UserFiles.h"
#include "reportproblem/ReportSources.h"
#include "support/TextTemplate.h"

namespace {

constexpr int kMargin = 3 * DGAStyle::kGrid;
constexpr QSize kFilesSize(600, 160);
constexpr int kNameWidth = 320;
constexpr QSize kThumbnailSize(240, 135);
constexpr QSize kTextSize(760, 520);
constexpr size_t kLongestText = size_t{1024} * 1024;  // bytes that are shown of a file
constexpr int kPathRole = Qt::UserRole;
constexpr int kNameRole = Qt::UserRole + 1;
constexpr int kKindRole = Qt::UserRole + 2;

QString filled(const char* key, const QString& value) {
    return QString::fromStdString(
        support::fillPlaceholders(DGAUtilities::dga_localize(key), {value.toStdString()}));
}

QString meaningOf(const std::string& kind) {
    namespace Kind = ReportFileKind;
    static constexpr std::array<std::pair<const char*, const char*>, 12> kMeanings{
        {{Kind::kMeetingLog, kTextFileMeetingLog},
         {Kind::kPluginLog, kTextFileOtherLogs},
         {Kind::kAppletLog, kTextFileOtherLogs},
         {Kind::kToolsLog, kTextFileOtherLogs},
         {Kind::kParameters, kTextFileParameters},
         {Kind::kAssistantLog, kTextFileAssistantLog},
         {Kind::kTopic, kTextFileTrace},
         {Kind::kTrace, kTextFileTrace},
         {Kind::kCrashReport, kTextFileCrashReport},
         {Kind::kScreenshot, kTextFileScreenCapture},
         {Kind::kSystemProfile, kTextFileSystemProfile},
         {kDGAReportSummaryKind, kTextFileSummary}}};
    const auto* const found = std::find_if(kMeanings.begin(), kMeanings.end(),
                                           [&](const auto& meaning) { return kind == meaning.first; });
    return found == kMeanings.end() ? QString() : dgaText(found->second);
}

QString sizeText(uint64_t bytes) {
    constexpr double kKilo = 1000;
    const double kilobytes = static_cast<double>(bytes) / kKilo;
    return kilobytes < kKilo ? filled(kTextKilobytes, QLocale().toString(std::max(1, qRound(kilobytes))))
                             : filled(kTextMegabytes, QLocale().toString(kilobytes / kKilo, 'f', 1));
}

QLabel* makeLabel(const QString& text, QWidget* parent) {
    auto* const label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFont(DGAStyle::systemFont(DGAStyle::kFontSize));
    return label;
}

// One line on all sides: the toolkit's sunken frame is white on white at two of them.
void drawEdge(QFrame& view) {
    view.setFrameStyle(QFrame::Box | QFrame::Plain);
    QPalette palette = view.palette();
    palette.setColor(QPalette::WindowText, DGAStyle::kControlEdge);
    view.setPalette(palette);
}

// A dialog of its own for one thing to look at.
QDialog* makeViewer(const QString& title, QWidget* content, QWidget* parent) {
    auto* const viewer = new QDialog(parent);
    viewer->setAttribute(Qt::WA_DeleteOnClose);
    viewer->setWindowTitle(title);
    auto* const column = new QVBoxLayout(viewer);
    auto* const close = new DGAButton(viewer);
    close->setText(dgaText(kTextCloseButtonSendReport));
    column->addWidget(content, 1);
    column->addWidget(close, 0, Qt::AlignRight);
    QObject::connect(close, &QAbstractButton::clicked, viewer, &QDialog::close);
    return viewer;
}

}  // namespace

DGAReportContentsWindow::DGAReportContentsWindow(const Receiver& receiver, QWidget* parent)
    : DGAWindowBase(parent),
      files_(new QTreeWidget(this)),
      pictureRow_(new QWidget(this)),
      thumbnail_(new QPushButton(pictureRow_)),
      pictureNote_(makeLabel({}, pictureRow_)),
      retake_(new DGAButton(pictureRow_)) {
    setWindowModality(Qt::WindowModal);
    setWindowTitle(dgaText(kTextSeeWhatIsSent));
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    column->setSpacing(DGAStyle::kGrid);
    const QString heading =
        receiver.host.isEmpty() ? dgaText(kTextFilesInReport) : filled(kTextFilesSentTo, receiver.host);
    column->addWidget(makeLabel(heading, this));
    files_->setColumnCount(3);
    files_->setHeaderHidden(true);
    files_->setRootIsDecorated(false);
    files_->setUniformRowHeights(true);
    files_->setAccessibleName(heading);
    files_->setMinimumSize(kFilesSize);
    drawEdge(*files_);
    files_->header()->setStretchLastSection(false);
    files_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    files_->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    files_->header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
    column->addWidget(files_, 1);
    files_->setFocus();
    makePicture();
    column->addWidget(pictureRow_);
    if (!receiver.details.isEmpty()) {
        column->addWidget(makeLabel(dgaText(kTextDetailsSent), this));
        column->addWidget(makeLabel(receiver.details.join(QLatin1Char('\n')), this));
    }
    auto* const close = new DGAButton(this);
    close->setText(dgaText(kTextCloseButtonSendReport));
    close->setObjectName(QStringLiteral("_closeListBtn"));
    column->addWidget(close, 0, Qt::AlignRight);
    connect(close, &QAbstractButton::clicked, this, &DGAWindowBase::closeRequested);
    connect(files_, &QTreeWidget::itemChanged, this, &DGAReportContentsWindow::fileChanged);
    connect(files_, &QTreeWidget::itemClicked, this, &DGAReportContentsWindow::fileClicked);
    connect(files_, &QTreeWidget::itemActivated, this, &DGAReportContentsWindow::fileClicked);
}

void DGAReportContentsWindow::makePicture() {
    auto* const row = new QHBoxLayout(pictureRow_);
    row->setContentsMargins(0, 0, 0, 0);
    thumbnail_->setObjectName(QStringLiteral("_thumbnailBtn"));
    thumbnail_->setAccessibleName(dgaText(kTextEnlarge));
    thumbnail_->setToolTip(dgaText(kTextEnlarge));
    thumbnail_->setIconSize(kThumbnailSize);
    thumbnail_->setFlat(true);
    retake_->setObjectName(QStringLiteral("_retakeBtn"));
    retake_->setText(dgaText(kTextRetake));
    row->addWidget(thumbnail_);
    row->addWidget(pictureNote_, 1);
    row->addWidget(retake_, 0, Qt::AlignBottom);
    connect(thumbnail_, &QAbstractButton::clicked, this, &DGAReportContentsWindow::enlargePicture);
    connect(retake_, &QAbstractButton::clicked, this, [this] {
        retake_->setEnabled(false);
        emit retakeWanted();
    });
    pictureRow_->hide();
}

void DGAReportContentsWindow::setContents(const DGAReportContents& contents,
                                          const std::vector<std::string>& without) {
    isFilling_ = true;
    const QString current =
        files_->currentItem() ? files_->currentItem()->data(0, kNameRole).toString() : QString();
    files_->clear();
    for (const auto& file : contents.files) {
        addFile(file, std::find(without.begin(), without.end(), file.name) == without.end());
        auto* const item = files_->topLevelItem(files_->topLevelItemCount() - 1);
        if (item->data(0, kNameRole).toString() == current)
            files_->setCurrentItem(item);
    }
    isFilling_ = false;
    // Names are read to their ends in languages, too, that say more about them.
    int meanings = 0;
    for (const int column : {1, 2}) {
        files_->resizeColumnToContents(column);
        meanings += files_->columnWidth(column);
    }
    files_->setMinimumWidth(qMax(kFilesSize.width(), kNameWidth + meanings));
    refreshPicture(contents);
}

void DGAReportContentsWindow::addFile(const DGAReportContent& file, bool wanted) {
    const QString name = QString::fromStdString(file.name);
    auto* const item = new QTreeWidgetItem(files_, {name, meaningOf(file.kind), sizeText(file.size)});
    item->setData(0, kPathRole, QByteArray::fromStdString(file.path));
    item->setData(0, kNameRole, QByteArray::fromStdString(file.name));
    item->setData(0, kKindRole, QByteArray::fromStdString(file.kind));
    item->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
    item->setToolTip(0, name);
    const Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    const bool isOptional = file.kind != kDGAReportSummaryKind;
    item->setFlags(isOptional ? flags | Qt::ItemIsUserCheckable : flags);
    item->setCheckState(0, wanted || !isOptional ? Qt::Checked : Qt::Unchecked);
}

void DGAReportContentsWindow::fileChanged(QTreeWidgetItem* item) {
    if (isFilling_)
        return;
    wasToggled_ = true;
    emit wantedChanged(item->data(0, kNameRole).toByteArray().toStdString(),
                       item->data(0, kKindRole).toByteArray().toStdString(),
                       item->checkState(0) == Qt::Checked);
}

// A click on the box is told as one on the file, too, after the change.
void DGAReportContentsWindow::fileClicked(QTreeWidgetItem* item) {
    if (std::exchange(wasToggled_, false))
        return;
    if (item->data(0, kKindRole).toByteArray() == ReportFileKind::kScreenshot)
        enlargePicture();
    else
        showText(item->text(0), item->data(0, kPathRole).toByteArray().toStdString());
}

void DGAReportContentsWindow::showText(const QString& title, const std::string& path) {
    const auto text = platform::readUserFile(path, kLongestText);
    if (!text || text->find('\0') != std::string::npos) {
        dgaTell(this, dgaText(kTextFileNotShown));
        return;
    }
    auto* const view = new QPlainTextEdit(QString::fromStdString(*text));
    view->setReadOnly(true);
    view->setAccessibleName(title);
    view->setLineWrapMode(QPlainTextEdit::NoWrap);
    drawEdge(*view);
    auto* const viewer = makeViewer(title, view, this);
    viewer->resize(kTextSize);
    viewer->open();
}

QSize DGAReportContentsWindow::roomForPicture() const {
    constexpr double kPart = 0.8;
    return screen()->availableSize() * kPart;
}

void DGAReportContentsWindow::enlargePicture() {
    if (picture_.isNull())
        return;
    auto* const label = new QLabel();
    const QSize room = roomForPicture();
    label->setPixmap(picture_.width() > room.width() || picture_.height() > room.height()
                         ? picture_.scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                         : picture_);
    makeViewer(dgaText(kTextFileScreenCapture), label, this)->open();
}

void DGAReportContentsWindow::refreshPicture(const DGAReportContents& contents) {
    const bool isThere = !contents.picture.empty();
    picture_ = isThere ? QPixmap(QString::fromStdString(contents.picture)) : QPixmap();
    thumbnail_->setIcon(picture_);
    thumbnail_->setHidden(picture_.isNull());
    pictureNote_->setText(isThere && picture_.isNull() ? dgaText(kTextNoScreenCapture) : QString());
    isComplete_ = contents.isComplete;
    retake_->setEnabled(isComplete_);
    pictureRow_->setHidden(!isThere);
}

void DGAReportContentsWindow::setAwaitingPermission() {
    if (isComplete_)
        return;
    thumbnail_->hide();
    pictureNote_->setText(dgaText(kTextCapturePermission));
    retake_->setEnabled(false);
    pictureRow_->show();
}
