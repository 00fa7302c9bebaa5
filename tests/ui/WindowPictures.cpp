// Writes a picture of each window in each of its states, as the screen shows them, with stand-ins for what
// the windows work with:
//
//     window_pictures FOLDER LANGUAGE...
//
// makes FOLDER/<language>/<state>.png. Run through scripts/make-pictures: it needs a display and a window
// manager, or a Wayland desktop of one colour with grim.

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QProcess>
#include <QScreen>
#include <QTimer>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>

#include "DGAMonitor/DGACoreWindowServices.h"
#include "DGAMonitor/Report/DGAReportGenerator.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/View/DGADesktopFrame.h"
#include "DGAMonitor/View/DGAFrozeWindowController.h"
#include "DGAMonitor/View/SendReport/Controller/DGAProblemReportingWindowController.h"
#include "DGAMonitor/View/SendReport/View/DGACheckboxButton.h"
#include "DGAMonitor/View/SendReport/View/DGAMouseTrackingButton.h"
#include "DGAMonitor/View/SendReport/View/DGATextField.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAUpload/ui/UploadWindowController.h"
#include "DGAWindowProgram/DGAToolkit.h"
#include "reportproblem/ReportSources.h"
#include "support/widgets/QuivetSpinImageView.h"

namespace {

using namespace std::chrono_literals;

constexpr char kAddress[] = "asa.oberg@example.com";
constexpr int kLongestMoves = 12;  // quarters of a second until windows stand still
constexpr int kMargin = 32;        // points around what is shown
const QColor kBackground(0xe8, 0xed, 0xf4);

// What the user of the pictures has written.
std::string description(const std::string& language) {
    static const std::map<std::string, std::string> texts{
        {"German", "Seit etwa zehn Uhr hören mich die anderen nur noch bruchstückhaft."},
        {"Japanese", "10時ごろから、こちらの音声が途切れて聞こえるそうです。"}};
    const auto found = texts.find(language);
    return found != texts.end() ? found->second : "Since about ten the others hear me only in fragments.";
}

void runFor(std::chrono::milliseconds time) {
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

QList<QWidget*> shownWindows() {
    QList<QWidget*> shown;
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        if (window->isVisible())
            shown << window;
    }
    // What belongs to a window lies above it.
    std::sort(shown.begin(), shown.end(), [](const QWidget* one, const QWidget* other) {
        return !one->parentWidget() && other->parentWidget();
    });
    // A panel hides the window that waits for it.
    if (!shown.isEmpty() && shown.last()->isModal())
        shown = {shown.last()};
    return shown;
}

// A window casts a soft shadow, which lies a little lower.
void paintShadow(QPainter& painter, const QRectF& frame) {
    constexpr int kReach = 22;
    painter.setBrush(Qt::NoBrush);
    for (int i = -6; i < kReach; ++i) {
        const double strength = 1 - qMax(0, i) / double(kReach);
        painter.setPen(QPen(QColor(0x1c, 0x2a, 0x44, int(44 * strength * strength)), 1));
        painter.drawRoundedRect(frame.translated(0, 4).adjusted(-i, -i, i, i), qMax(0, i), qMax(0, i));
    }
}

// On Wayland only the compositor knows where windows are, and what they look like.
QImage windowsOnDesktop() {
    QProcess grim;
    grim.start(QStringLiteral("grim"), {QStringLiteral("-")});
    grim.waitForFinished();
    QImage desktop = QImage::fromData(grim.readAllStandardOutput()).convertToFormat(QImage::Format_RGB32);
    if (desktop.isNull())
        return {};
    const QRgb ground = desktop.pixel(0, 0);
    QRect windows;
    for (int y = 0; y < desktop.height(); ++y) {
        auto* const line = reinterpret_cast<QRgb*>(desktop.scanLine(y));
        for (int x = 0; x < desktop.width(); ++x) {
            if (line[x] != ground)
                windows |= QRect(x, y, 1, 1);
            else
                line[x] = kBackground.rgb();
        }
    }
    if (windows.isEmpty())
        return {};
    const int margin = qRound(kMargin * qApp->devicePixelRatio());
    return desktop.copy(windows.adjusted(-margin, -margin, margin, margin));
}

// Once it stays as it is.
QImage pictureOfDesktop() {
    QImage last;
    for (int i = 0; i < kLongestMoves; ++i) {
        const QImage now = windowsOnDesktop();
        if (!now.isNull() && now == last)
            break;
        last = now;
        runFor(250ms);
    }
    return last;
}

QImage picture() {
    if (dgaOnWayland())
        return pictureOfDesktop();
    const QList<QWidget*> windows = shownWindows();
    QRect frame;
    for (const QWidget* const window : windows)
        frame |= window->frameGeometry();
    frame.adjust(-kMargin, -kMargin, kMargin, kMargin);
    const qreal ratio = qApp->devicePixelRatio();
    QImage image(frame.size() * ratio, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(kBackground);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(-frame.topLeft());
    for (const QWidget* const window : windows) {
        const QRect place = window->frameGeometry();
        paintShadow(painter, place);
        painter.drawPixmap(
            place, window->screen()->grabWindow(0, place.x(), place.y(), place.width(), place.height()));
    }
    return image;
}

// A report generator that has begun and is not ready until `ready` is free.
std::shared_ptr<DGAReportGenerator> generatorThatWaits(std::mutex& ready) {
    DGAReportGenerator::Tools tools;
    tools.run = [&ready](const platform::Task& task) {
        { const std::lock_guard<std::mutex> wait(ready); }
        std::ofstream(task.arguments.at(1) + ".zip") << "archive";
        platform::TaskResult result;
        result.started = true;
        result.reason = platform::TaskResult::kExited;
        return result;
    };
    tools.systemProfile = [](const auto&, const auto&) {};
    tools.screenshot = [](const auto&) { return ""; };
    tools.crashRecord = [](const auto&, const auto&) { return std::vector<platform::CoredumpModule>(); };
    tools.saveTime = [] { return "20260102_030405"; };
    return std::make_shared<DGAReportGenerator>(tools);
}

// What a report would hold, and which one is kept, the same every time.
class Services final : public DGACoreWindowServices {
public:
    void listContents(int64_t /*listing*/, const DGAReportOptions& /*options*/,
                      std::function<void(const DGAReportContents&)> told) override {
        namespace Kind = ReportFileKind;
        told({.files = {{"OrvaneAppLog.zip/orvgpc.ovt", Kind::kMeetingLog, 1'420'000, ""},
                        {"OrvaneAppLog.zip/orvtra_dga_0102202603040500.ovt", Kind::kAssistantLog, 83'000, ""},
                        {"orvdga_trace_meeting_0102202603040500.csv", Kind::kTrace, 46'000, ""},
                        {"orvdga_screenshot_20260102_030405.png", Kind::kScreenshot, 612'000, ""},
                        {"orvdga_system_profile.spx", Kind::kSystemProfile, 271'000, ""},
                        {"orvdga_report.json", kDGAReportSummaryKind, 2'300, ""}},
              .isComplete = true,
              .picture = screen,
              .pictureFault = ""});
    }
    void keptReports(std::function<void(const std::vector<DGAKeptReport>&)> told) override {
        if (hasKept)
            told({{"1_2_20260102_101500", "", 1, "2026-01-02T10:15:00+00:00"}});
    }
    std::string screen;
    bool hasKept = false;
};

Services& services() {
    static auto* const services = [] {
        auto made = std::make_shared<Services>();
        DGAApplicationWindows::sharedWindows().setServices(made);
        return made.get();
    }();
    return *services;
}

class Pictures {
public:
    Pictures(QString folder, std::string language)
        : folder_(folder + "/" + QString::fromStdString(language)), language_(std::move(language)) {
        QDir().mkpath(folder_);
        record_.language.set(language_);
        record_.serviceType = 1;
        record_.confID.set("8834201177");
        record_.userID.set("536871042");
        record_.userName.set("Åsa Öberg");
        record_.userEmail.set(kAddress);
        record_.confName.set("Weekly planning");
        record_.uploadURL.set("https://reports.example.com/upload");
    }

    bool takeAll() {
        prompt();
        reportWindow();
        keptReport();
        reportByMail();
        uploadWindow();
        return ok_;
    }

private:
    void take(const char* state) {
        runFor(250ms);
        const QString path = folder_ + "/" + state + ".png";
        if (!picture().save(path)) {
            std::fprintf(stderr, "window_pictures: cannot write %s\n", qPrintable(path));
            ok_ = false;
        }
    }

    // A desktop without a keyboard has no active window, and on Wayland only a key opens a list in its place.
    void takeAfterKey(const char* state, const char* key, const std::function<void()>& withoutKey) {
        QProcess keyboard;
        if (dgaOnWayland()) {
            keyboard.start(QStringLiteral("wtype"), {"-s", "1000", "-k", key, "-s", "20000"});
            runFor(2s);
        } else {
            withoutKey();
        }
        take(state);
        keyboard.kill();
        keyboard.waitForFinished();
    }

    void prompt() {
        DGAFrozeWindowController prompt;
        prompt.center();
        prompt.show();
        take("prompt");
    }

    std::unique_ptr<DGAProblemReportingWindowController> makeReportWindow() {
        return std::make_unique<DGAProblemReportingWindowController>(
            DGAProblemReportingWindowController::Parts{[this] { return generatorThatWaits(ready_); },
                                                       [](const ReportMail&, const auto&) {}});
    }

    void fill(QWidget& window) {
        auto* const field = window.findChild<DGATextField*>("_textField");
        field->setStringValue(description(language_));
        field->moveCursor(QTextCursor::End);
        auto* const box = window.findChild<LarimoDropdownBox*>();
        box->setCurrentIndex(2);
        emit box->activated(2);
    }

    void reportWindow() {
        record_.enableSendReport = true;
        const auto controller = makeReportWindow();
        QWidget& window = controller->window();
        controller->showPRWindow();
        take("report-empty");
        fill(window);
        take("report-filled");
        auto* const box = window.findChild<LarimoDropdownBox*>();
        box->setFocus();
        takeAfterKey("report-categories", "space", [box] { box->showPopup(); });
        box->hidePopup();
        auto* const system = window.findChild<DGACheckboxButton*>("_sysInfoBtn");
        system->setFocus();
        takeAfterKey("report-information", "Tab", [system] {
            system->findChild<DGAMouseTrackingButton*>()->setFocus(Qt::TabFocusReason);
        });
        contentsOf(window);
    }

    void contentsOf(QWidget& window) {
        services().screen = "/tmp/screen.png";
        QImage screen(1920, 1080, QImage::Format_RGB32);
        screen.fill(kBackground.darker(120));
        QPainter(&screen).drawPixmap(700, 200, window.grab());
        screen.save(QString::fromStdString(services().screen));
        window.findChild<QAbstractButton*>("_contentsBtn")->click();
        take("report-contents");
    }

    void keptReport() {
        record_.enableSendReport = services().hasKept = true;
        const auto controller = makeReportWindow();
        controller->showPRWindow();
        take("report-kept");
        services().hasKept = false;
    }

    void reportByMail() {
        record_.enableSendReport = false;
        const auto controller = makeReportWindow();
        QWidget& window = controller->window();
        controller->showPRWindow();
        fill(window);
        take("report-mail");
        {
            const std::lock_guard<std::mutex> notReady(ready_);
            window.findChild<QAbstractButton*>("_saveBtn")->click();
            take("report-generating");
        }
        runFor(1s);  // until the panel has read the folders
        take("report-save-panel");
        auto* const panel = window.findChild<QFileDialog*>();
        QFile existing(panel->selectedFiles().value(0));
        existing.open(QIODevice::WriteOnly);
        static_cast<QDialog*>(panel)->accept();
        take("report-replace");
        existing.remove();
        if (auto* const question = window.findChild<QMessageBox*>())
            question->reject();
        static_cast<QDialog*>(panel)->accept();
        take("report-saved");
        QFile::remove(existing.fileName());
        controller->close();
    }

    void uploadWindow() {
        const struct {
            const char* state;
            std::function<void(UploadView&)> show;
        } states[] = {
            {"upload-preparing", [](UploadView&) {}},
            {"upload-connecting", [](UploadView& v) { v.showReportPreparedStep(true); }},
            {"upload-uploading",
             [](UploadView& v) {
                 connected(v), v.showUploading_presentage(26), v.showTransferred(3'100'000, 12'000'000, 19);
             }},
            {"upload-sent-mail", [](UploadView& v) { connected(v), v.showEmailSend_FinishStep(kAddress); }},
            {"upload-sent", [](UploadView& v) { connected(v), v.showEmailSend_FinishStep(""); }},
            {"upload-prepare-failed", [](UploadView& v) { v.showReportFailed(); }},
            {"upload-too-large",
             [](UploadView& v) { v.showReportPreparedStep(true), v.showSizeExcessiveStep(false); }},
            {"upload-connect-failed",
             [](UploadView& v) { v.showReportPreparedStep(true), v.showConnectServerStep(false); }},
            {"upload-failed", [](UploadView& v) { connected(v), v.showUploadingToServerStep(false); }},
            {"upload-saved",
             [](UploadView& v) {
                 connected(v), v.showUploadingToServerStep(false);
                 v.showSaved("/home/asa/Downloads/8834201177_536871042_20260102_030405.zip");
             }},
            {"upload-limit", [](UploadView& v) { connected(v), v.showOverheadStep(false); }},
        };
        for (const auto& state : states) {
            const std::lock_guard<std::mutex> notReady(ready_);
            UploadWindowController controller({generatorThatWaits(ready_), {}});
            controller.showUploadWindowIfScreenShot(
                {.screenShot = true, .systemInfo = true, .serviceType = 1}, "", 2);
            UploadView& view = controller.uploadVC()->view();
            if (std::string(state.state) != "upload-prepare-failed")
                view.setReportNumber("8834201177_536871042_20260102_030405");
            state.show(view);
            // The wheel stands still, in the same place every time.
            if (auto* const wheel = view.findChild<QuivetSpinImageView*>())
                wheel->stopSpin();
            runFor(50ms);
            controller.center();
            take(state.state);
        }
    }

    static void connected(UploadView& view) {
        view.showReportPreparedStep(true);
        view.showConnectServerStep(true);
    }

    DGASessionRecord& record_ = DGASessionRecord::sharedRecord();
    std::mutex ready_;
    QString folder_;
    std::string language_;
    bool ok_ = true;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: window_pictures FOLDER LANGUAGE...\n");
        return 2;
    }
    DGAToolkit::start(nullptr);
    services();
    QApplication::setCursorFlashTime(0);
    bool ok = true;
    for (int i = 2; i < argc; ++i)
        ok = Pictures(QString::fromLocal8Bit(argv[1]), argv[i]).takeAll() && ok;
    std::fflush(nullptr);
    std::_Exit(ok ? 0 : 1);
}
