#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QScreen>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"
#include "DGAMonitor/View/SendReport/View/DGAButton.h"
#include "DGAMonitor/View/SendReport/View/DGAImageView.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAUpload/ui/UploadView.h"
#include "DGAUpload/ui/UploadWindowController.h"
#include "platform/WorkQueue.h"
#include "support/widgets/LarimoNotificationView.h"
#include "support/widgets/QuivetSpinImageView.h"
#include "ui/UiTest.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr char kArchive[] = "/tmp/orvdga/1_2_20260102_030405";

/// What a user sees: a line for each step, "*" with the wheel, "+" done, "!" failed; then banner and buttons.
std::string seen(const QWidget& view) {
    std::string text;
    const auto* const spinner = view.findChild<QuivetSpinImageView*>();
    for (int step = 1; step <= 5; ++step) {
        static constexpr const char* kLabels[] = {"prepareLabel", "connectionLabel", "uploadingLabel",
                                                  "emailSendLabel", "reportSendedLabel"};
        const auto* const label = view.findChild<QLabel*>(kLabels[step - 1]);
        const auto* const image = view.findChild<DGAImageView*>(QStringLiteral("imageStep%1").arg(step));
        if (label->isHidden()) {
            EXPECT_TRUE(image->isHidden());
            continue;
        }
        const bool spins = spinner && spinner->isSpinning() &&
                           label->geometry().contains(QPoint(label->x(), spinner->geometry().center().y()));
        text += spins ? "*" : image->isHidden() ? "" : image->imageName() == "icn_error" ? "!" : "+";
        text += label->text().toStdString() + "|";
    }
    for (const auto* const banner : view.findChildren<LarimoNotificationView*>())
        text += "(" + banner->message().toStdString() + ")";
    if (const auto* const number = view.findChild<QLabel*>("numberLabel"); !number->isHidden())
        text += number->text().toStdString();
    for (const auto* const button : view.findChildren<QAbstractButton*>()) {
        if (!button->isHidden())
            text += "[" + button->text().toStdString() + "]";
    }
    return text;
}

std::string trace() {
    DGACSVFileTool::traceQueue().sync([] {});
    std::ifstream file(DGACSVFileTool::shareFileTool().orvdgaCSVFilePath());
    return {std::istreambuf_iterator<char>(file), {}};
}

long countOf(const std::string& text, const std::string& part) {
    long count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

long entriesOf(const char* folder) {
    return std::distance(fs::directory_iterator(folder), {});
}

std::string shown(const char* key) {
    return DGAUtilities::dga_localize(key);
}

const std::string kConnecting = "+Report prepared|*Connecting to the server…|";
const std::string kConnected = "+Report prepared|+Connected to the server|";
const std::string kWarning = "(We couldn't send your problem report. You can save it and try again later.)";
const std::string kNumber = "Report number: 1_2_20260102_030405";
const std::string kAllButtons = "[Try Again][Save Report][Cancel][Copy]";

struct Generator final : DGAReportMaker {
    void setDelegate(std::weak_ptr<DGAReportGeneratorDelegate> /*delegate*/) override {}
    void startGenerateReportIfScreenShot(const DGAReportOptions& options,
                                         std::function<void()> /*completion*/) override {
        asked.push_back(options);
    }
    std::vector<DGAReportOptions> asked;
};

/// An upload server: the real one, or with no options one that takes connections and never answers.
class Server {
public:
    explicit Server(const std::string& options = {}) {
        if (options.empty()) {
            socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            EXPECT_EQ(listen(socket_, 64), 0);
            sockaddr_in address{};
            socklen_t size = sizeof address;
            getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
            url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
        } else {
            const std::string program = std::string(std::getenv("ORVANEDGA_BIN")) + "/orvane-upload-server ";
            output_ = popen(("echo $$; exec " + program + options).c_str(), "r");
            char line[200] = "";
            EXPECT_EQ(fscanf(output_, "%d\nlistening on %199s", &process_, line), 2);
            url_ = line;
        }
        DGASessionRecord::sharedRecord().uploadURL.set(url_ + "up?siteid=1");
    }
    ~Server() {
        if (output_) {
            kill(process_, SIGTERM);
            pclose(output_);
        } else {
            close(socket_);
        }
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

private:
    int socket_ = -1;
    FILE* output_ = nullptr;
    pid_t process_ = 0;
    std::string url_;
};

class UploadWindowTest : public ui::UiTest {
protected:
    void SetUp() override {
        UiTest::SetUp();
        fs::create_directories("/tmp/orvdga");
        record.serviceType = 1;
        record.userEmail.set("jane@example.com");
    }
    void TearDown() override {
        UiTest::TearDown();
        controller.reset();
        record.language.set({});
        ui::runFor(20ms);
    }

    void show(const std::string& comment = "it broke") {
        if (!controller)
            controller = std::make_shared<UploadWindowController>(UploadViewController::Parts{generator, {}});
        controller->showUploadWindowIfScreenShot({.screenShot = true, .serviceType = 1}, comment, 3);
    }
    /// The toolkit takes a window that is shown again at once for one that has kept the keyboard.
    static void letGo() {
        EXPECT_TRUE(ui::waitUntil([] { return !QGuiApplication::focusWindow(); }));
    }
    void generated(uintmax_t size = 300000) {
        std::ofstream(kArchive + std::string(".zip")) << "PK";
        fs::resize_file(kArchive + std::string(".zip"), size);
        vc().reportFileGeneratedAt(kArchive);
    }
    UploadViewController& vc() { return *controller->uploadVC(); }
    std::string seenNow() {
        ui::runFor(10ms);  // its layout is of now
        return seen(vc().view());
    }
    bool sees(const std::string& text) {
        return ui::waitUntil([&] { return seenNow().find(text) != std::string::npos; });
    }
    void status(int32_t status) {
        vc().traceUpload()->m_status = status;
        vc().notifyMainThread("statusUpdate");
    }
    /// The uploader, which must end, and the thread with it, soon after the window.
    std::weak_ptr<CTraceUpload> uploader() { return vc().traceUpload(); }
    static void expectGone(const std::weak_ptr<CTraceUpload>& uploader, long threads) {
        const auto before = std::chrono::steady_clock::now();
        EXPECT_TRUE(
            ui::waitUntil([&] { return uploader.expired() && entriesOf("/proc/self/task") <= threads; }));
        EXPECT_LT(std::chrono::steady_clock::now() - before, 1s);
        EXPECT_TRUE(fs::exists(kArchive + std::string(".zip")));
    }

    DGASessionRecord& record = DGASessionRecord::sharedRecord();
    std::shared_ptr<Generator> generator = std::make_shared<Generator>();
    std::shared_ptr<UploadWindowController> controller;
};

TEST_F(UploadWindowTest, EachStatusOfTheUploaderIsShown) {
    const Server server;
    const std::string failedAt0 = kConnected + "!";
    const struct {
        std::vector<int32_t> statuses;
        std::string expected;
    } cases[] = {
        {{10, 14, 15, 99, -1}, kConnecting + "[Cancel]"},
        {{11}, kConnecting + "[Cancel]"},
        {{12}, "!The report could not be prepared|" + kWarning + kNumber + kAllButtons},
        {{13}, kConnected + "*Uploading report… (0%)|[Cancel]"},
        {{16}, "+Report prepared|!Can't connect to the server.|" + kWarning + kNumber + kAllButtons},
        {{21},
         "+Report prepared|!" + shown(kTextCertificateInvalid) + "|" + kWarning + kNumber + kAllButtons},
        {{22},
         "+Report prepared|!" + shown(kTextAdministratorForbids) + "|" + kWarning + kNumber + kAllButtons},
        {{15, 17}, kConnected + "*Uploading report… (0%)|[Cancel]"},
        {{16, 18},
         "+Report prepared|!Can't connect to the server.|!" + shown(kTextSentToServerTimeOut) + "|" +
             kWarning + kNumber + kAllButtons},
        {{18}, failedAt0 + shown(kTextSentToServerTimeOut) + "|" + kWarning + kNumber + kAllButtons},
        {{17, 18}, failedAt0 + shown(kTextSentToServerTimeOut) + "|" + kWarning + kNumber + kAllButtons},
        {{20}, failedAt0 + shown(kTextCannotSend3Times) + "|" + kWarning + kNumber + kAllButtons},
        {{17, 19},
         kConnected +
             "+Report uploaded|+A confirmation email will be sent to jane@example.com.|"
             "+Your problem report has been sent.|" +
             kNumber + "[OK][Copy]"},
    };
    for (const auto& c : cases) {
        show();
        generated();
        for (const int32_t number : c.statuses)
            status(number);
        EXPECT_EQ(seenNow(), c.expected) << c.statuses.back();
        ui::takePicture("upload_" + std::to_string(c.statuses.front()) + "_" +
                        std::to_string(c.statuses.back()));
    }
    // What failed before shows no more once it is tried again.
    show();
    generated();
    status(16);
    ui::click(*vc().view().findChild<QWidget*>("againButton"));
    status(17);
    status(19);
    EXPECT_EQ(seenNow(), cases[std::size(cases) - 1].expected);
    show();
    vc().reportHasNoPicture();
    generated();
    EXPECT_EQ(seenNow(),
              "+Report prepared\nThe report has no screen capture.|*Connecting to the server…|[Cancel]");
    ui::takePicture("upload_without_picture");
    fs::remove(kArchive + std::string(".zip"));
    status(12);
    EXPECT_EQ(seenNow(), "!The report could not be prepared|[Try Again][Cancel]") << "nothing to save";
}

TEST_F(UploadWindowTest, ProgressIsPolledAndTheNextStatusResetsIt) {
    const Server server;
    show();
    generated();
    const auto& upload = vc().traceUpload();
    upload->m_status = 17;
    ASSERT_TRUE(sees("(0%)"));
    ui::runFor(1100ms);  // before that nobody knows how long it takes
    upload->m_upload_progress = 66;
    ASSERT_TRUE(sees("(66%)"));
    const QString left = vc().view().findChild<QLabel*>("progressLabel")->text();
    EXPECT_TRUE(left.endsWith("s left")) << left.toStdString();
    auto* const label = vc().view().findChild<QLabel*>("uploadingLabel");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(label)->text(QAccessible::Name),
              "Uploading report… (66%)");
    upload->m_status = 15;
    ASSERT_TRUE(sees("(0%)"));
    upload->m_upload_progress = 100;
    ASSERT_TRUE(sees("(100%)"));
    EXPECT_TRUE(vc().isPolling());
    upload->m_status = 20;
    ASSERT_TRUE(sees("no more reports"));
    EXPECT_TRUE(ui::waitUntil([this] { return !vc().isPolling(); }));
}

TEST_F(UploadWindowTest, SendsArchivesOfUpTo25MillionBytes) {
    const Server server;
    show();
    EXPECT_EQ(generator->asked, (std::vector<DGAReportOptions>{{.screenShot = true, .serviceType = 1}}));
    generated(25'000'000);
    EXPECT_TRUE(vc().isPolling());
    show();
    const long failures = countOf(trace(), "client upload failed");
    generated(25'000'001);
    EXPECT_FALSE(vc().isPolling());
    EXPECT_FALSE(vc().traceUpload());
    EXPECT_EQ(seenNow(), "+Report prepared|!" + shown(kTextFileSizeExcessiveAlert) + "|(" +
                             shown(kTextFileSizeExcessiveInfo) + ")" + kNumber +
                             "[Save Report][Cancel][Copy]");
    EXPECT_EQ(countOf(trace(), "client upload failed"), failures + 1);
    ui::takePicture("upload_too_large");
    // An archive that was never made is told at once, whatever the server would say.
    show();
    vc().reportFileGeneratedAt("/tmp/orvdga/none");
    EXPECT_TRUE(sees("!The report could not be prepared"));
    // With no archive there is nothing to save, but it may be tried again.
    show();
    const auto asked = generator->asked;
    vc().reportFailed("zip ended with 14");
    EXPECT_EQ(seenNow(), "!The report could not be prepared|[Try Again][Cancel]");
    ui::click(*vc().view().findChild<QWidget*>("againButton"));
    EXPECT_EQ(generator->asked.size(), asked.size() + 1);
    EXPECT_EQ(generator->asked.back(), asked.back());
    EXPECT_TRUE(sees("*Preparing report…")) << seenNow();
}

TEST_F(UploadWindowTest, SendsToAServer) {
    const struct {
        const char* fail;
        const char* email;
        std::string sees;
        int successes;
    } cases[] = {
        {"", "jane@example.com", "+Your problem report has been sent.|" + kNumber + "[OK][Copy]", 1},
        {"", "", "+Report uploaded|+Your problem report has been sent.|" + kNumber + "[OK][Copy]", 0},
        {"--fail exceed --fail-at 2", "", shown(kTextCannotSend3Times), 0},
        {"--fail fail", "", shown(kTextSentToServerTimeOut), 0},
        {"--fail cut --fail-at 2", "", shown(kTextSentToServerTimeOut), 0},
        {"--fail 404", "", shown(kTextCannotConnectToServer), 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fail);
        const Server server("--quiet --store /tmp/stored " + std::string(c.fail));
        record.userEmail.set(c.email);
        const std::string before = trace();
        show("");
        generated();
        EXPECT_TRUE(sees(c.sees)) << seenNow();
        const std::string added = trace().substr(before.size());
        EXPECT_EQ(countOf(added, "\n"), *c.fail ? 1 : c.successes) << added;
        EXPECT_EQ(countOf(added, "39,1,1,client upload success,0,,0,,0,"), c.successes);
        EXPECT_EQ(countOf(added, "39,1,1,client upload failed,0,,0,,0,"), *c.fail ? 1 : 0);
        if (*c.fail)
            continue;
        std::ifstream file("/tmp/stored/1_2_20260102_030405.pieces.jsonl");
        const std::string pieces{std::istreambuf_iterator<char>(file), {}};
        EXPECT_EQ(countOf(pieces, "\"pd\":\"dGVzdCBjb21tZW50\""), 3) << "no \"test comment\" in " << pieces;
        EXPECT_EQ(countOf(pieces, "\"ct\":\"3\""), 3);
    }
}

TEST_F(UploadWindowTest, ClosingLeavesNothingBehind) {
    const Server server;
    const auto button = [this](const char* name) { return vc().view().findChild<QWidget*>(name); };
    const std::function<void()> ways[] = {
        [&] { ui::click(*button("cancelButton")); },
        [] { ui::press("Escape"); },
        [] { ui::press("alt+F4"); },
        [] { ui::press("Tab Return"); },
        [this] { controller->close(); },
        [this] { controller.reset(); },
    };
    const auto asked = [] { return qobject_cast<QMessageBox*>(QApplication::activeWindow()) != nullptr; };
    show();
    generated();
    ui::runFor(700ms);  // threads and sockets that stay are there now
    controller->close();
    expectGone({}, entriesOf("/proc/self/task"));
    letGo();
    ui::runFor(700ms);
    const long threads = entriesOf("/proc/self/task");
    const long files = entriesOf("/proc/self/fd");
    for (const auto& way : ways) {
        for (const int32_t at : {0, 10, 17}) {
            SCOPED_TRACE(std::to_string(&way - ways) + " at " + std::to_string(at));
            show();
            ASSERT_TRUE(ui::waitUntilActive(controller->window()));
            const std::weak_ptr<UploadViewController> shown = controller->uploadVC();
            if (at != 0) {
                generated();
                status(at);
            }
            ui::press("Return");  // no button has the keyboard yet
            ASSERT_TRUE(controller->isVisible());
            const auto upload = uploader();
            way();
            if (at != 0 && &way - ways < 4) {
                ASSERT_TRUE(ui::waitUntil(asked)) << "a transfer is not ended by one key";
                ui::press("Return");
                ASSERT_TRUE(controller->isVisible());
                way();
                ASSERT_TRUE(ui::waitUntil(asked));
                ui::press("Tab Return");
                ASSERT_TRUE(ui::waitUntil([this] { return !controller->isVisible(); }));
            }
            ASSERT_TRUE(ui::waitUntil([] { return !DGAApplicationWindows::sharedWindows().anyVisible(); }));
            expectGone(upload, threads);
            EXPECT_TRUE(ui::waitUntil([&] { return shown.expired(); }));
            EXPECT_TRUE(ui::waitUntil([&] { return entriesOf("/proc/self/fd") <= files; }));
            letGo();
        }
    }
}

TEST_F(UploadWindowTest, ANewReportReplacesTheOneThatIsBeingSent) {
    const Server server;
    show();
    generated();
    status(17);
    const auto upload = uploader();
    const std::weak_ptr<UploadViewController> old = controller->uploadVC();
    old.lock()->saveBtnClicked();
    show();
    old.lock()->reportFileGeneratedAt(kArchive);  // one that was on its way
    expectGone(upload, entriesOf("/proc/self/task"));
    EXPECT_TRUE(old.expired());
    EXPECT_EQ(seenNow(), "*Preparing report…|[Cancel]");
    EXPECT_EQ(controller->window().findChildren<UploadView*>().size(), 1);
    const QWidget& window = controller->window();
    EXPECT_LE(
        (window.frameGeometry().center() - window.screen()->availableGeometry().center()).manhattanLength(),
        20);
    ASSERT_TRUE(ui::waitUntilActive(controller->window()));
}

TEST_F(UploadWindowTest, TheResultHasTheKeyboard) {
    const Server server;
    for (const int32_t at : {19, 16}) {
        show();
        ASSERT_TRUE(ui::waitUntilActive(controller->window()));
        generated();
        status(at);
        ui::press("Return");
        EXPECT_EQ(controller->isVisible(), at == 16);
        if (at == 19)
            letGo();
    }
    // Tried again with the same archive, which need not be made again.
    EXPECT_EQ(seenNow(), kConnecting + "[Cancel]");
    EXPECT_EQ(generator->asked.size(), 2U);
    EXPECT_TRUE(vc().isPolling());
    controller->close();
}

TEST_F(UploadWindowTest, SavingMovesTheArchiveAndSaysWhereItIs) {
    const Server server;
    const std::string folder = std::string(getenv("HOME")) + "/Downloads";
    const std::string saved = folder + "/1_2_20260102_030405.zip";
    fs::create_directories(folder);
    for (const std::string how : {"new", "existing", "vanished"}) {
        SCOPED_TRACE(how);
        fs::remove(saved);
        if (how == "existing")
            std::ofstream(saved) << "old";
        show();
        generated(1000);
        status(18);
        ASSERT_TRUE(ui::waitUntilActive(controller->window()));
        ui::click(*vc().view().findChild<QWidget*>("saveButton"));
        ASSERT_TRUE(ui::waitUntil([] { return qobject_cast<QFileDialog*>(QApplication::activeWindow()); }));
        if (how == "vanished")
            fs::remove(kArchive + std::string(".zip"));
        ui::press("Return");
        if (how != "new") {
            ASSERT_TRUE(
                ui::waitUntil([] { return qobject_cast<QMessageBox*>(QApplication::activeWindow()); }));
            ui::press(how == "existing" ? "alt+y" : "Return");
        }
        if (how == "vanished") {
            ASSERT_TRUE(
                ui::waitUntil([] { return qobject_cast<QFileDialog*>(QApplication::activeWindow()); }));
            ui::press("Escape");
        }
        EXPECT_TRUE(
            ui::waitUntil([&] { return controller->window().findChildren<DGASavePanel*>().isEmpty(); }));
        EXPECT_EQ(fs::exists(saved) && fs::file_size(saved) == 1000, how != "vanished");
        EXPECT_FALSE(fs::exists(kArchive + std::string(".zip")));
        if (how == "vanished")
            continue;
        EXPECT_TRUE(sees("(The report was saved as " + saved + ".)" + kNumber + "[Show in Folder][OK][Copy]"))
            << seenNow();
        ui::click(*vc().view().findChild<QWidget*>("copyButton"));
        EXPECT_EQ(QApplication::clipboard()->text(), "1_2_20260102_030405");
        ui::click(*vc().view().findChild<QWidget*>("ok_Button"));
        EXPECT_TRUE(ui::waitUntil([this] { return !controller->isVisible(); }));
        letGo();
    }
    // A move that fails is told, and costs nothing.
    generated(1000);
    std::string error;
    auto* const any =
        DGASavePanel::dga_showSavePanelWithName("a", {"zip"}, &controller->window(), nullptr, {});
    EXPECT_FALSE(vc().panel(*any, "/nowhere/a.zip", &error));
    EXPECT_FALSE(error.empty());
    EXPECT_TRUE(controller->isVisible());
    EXPECT_TRUE(fs::exists(kArchive + std::string(".zip")));
}

// In every language, in every state: all of every text is there, nothing covers anything, all is in the
// window.
TEST_F(UploadWindowTest, NothingIsCutOffInAnyLanguage) {
    const std::function<void(UploadView&)> states[] = {
        [](UploadView& v) { v.showReportPreparedStep(false); },
        [](UploadView& v) { v.showReportPreparedStep(true), v.showConnectServerStep(false); },
        [](UploadView& v) { v.showReportPreparedStep(true), v.showSizeExcessiveStep(false); },
        [](UploadView& v) { v.showReportPreparedStep(true), v.showConnectServerStep(true); },
        [](UploadView& v) {
            v.showReportPreparedStep(true), v.showConnectServerStep(true), v.showOverheadStep(false);
        },
        [](UploadView& v) {
            v.showReportPreparedStep(true), v.showConnectServerStep(true), v.showUploadingToServerStep(false);
        },
        [](UploadView& v) {
            v.showReportPreparedStep(true), v.showConnectServerStep(true);
            v.showEmailSend_FinishStep(std::string(120, 'm') + "@example.com");
        },
    };
    for (const std::string language :
         {"English", "zh_CN", "zh_TW", "Japanese", "ko", "French", "German", "Italian", "Spanish", "es_419",
          "sv", "Dutch", "pt", "ru", "tr", "da", "fi", "pl"}) {
        record.language.set(language);
        int number = 0;
        for (const auto& state : states) {
            ++number;
            show();
            auto& view = vc().view();
            state(view);
            // From the texts up to the window.
            for (int i = 0; i < 4; ++i)
                QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
            EXPECT_TRUE(ui::waitUntil([&] {
                const QWidget& window = controller->window();
                return window.size() == window.layout()->totalSizeHint().expandedTo(window.minimumSize());
            })) << language
                << number;
            if (language == "German" || language == "ru" || language == "Japanese" || language == "English")
                ui::takePicture("upload_" + language + "_" + std::to_string(number));
            QList<QWidget*> shown;
            for (auto* const child : view.findChildren<QWidget*>()) {
                const bool tells = qobject_cast<QLabel*>(child) || qobject_cast<DGAButton*>(child) ||
                                   qobject_cast<LarimoNotificationView*>(child);
                if (tells && child->isVisible())
                    shown << child;
            }
            const auto place = [&view](const QWidget* part) {
                return QRect(part->mapTo(&view, QPoint()), part->size());
            };
            for (auto* const child : shown) {
                const std::string what =
                    language + " " + std::to_string(number) + " " + child->objectName().toStdString();
                EXPECT_TRUE(view.rect().contains(place(child))) << what;
                if (const auto* const label = qobject_cast<QLabel*>(child))
                    EXPECT_LE(label->heightForWidth(label->width()), label->height()) << what;
                else if (const auto* const banner = qobject_cast<LarimoNotificationView*>(child))
                    EXPECT_LE(banner->heightForWidth(banner->width()), banner->height()) << what;
                else
                    EXPECT_LE(child->sizeHint().width(), child->width()) << what;
                for (const auto* const other : shown)
                    EXPECT_TRUE(other == child || !place(other).intersects(place(child)))
                        << what << " " << other->objectName().toStdString();
            }
        }
    }
}

TEST_F(UploadWindowTest, AHundredRoundsLeaveNothingBehind) {
    const Server server;
    std::weak_ptr<CTraceUpload> last;
    const auto residentKilobytesAfter = [&](int rounds) {
        for (int i = 0; i < rounds; ++i) {
            show();
            if (i % 2 == 1) {
                generated();
                last = uploader();
            }
            ui::runFor(2ms);
            controller->close();
        }
        EXPECT_TRUE(ui::waitUntil([&] { return last.expired(); }));
        ui::runFor(600ms);
        long pages = 0;
        std::ifstream statm("/proc/self/statm");
        statm >> pages >> pages;
        return pages * sysconf(_SC_PAGESIZE) / 1024;
    };
    residentKilobytesAfter(200);  // as many are ending at a time as there will be
    const long threads = entriesOf("/proc/self/task");
    const long before = residentKilobytesAfter(100);
    const long grown = residentKilobytesAfter(100) - before;
    RecordProperty("grown_kilobytes", std::to_string(grown));
    EXPECT_LT(grown, ui::isSanitized() ? 65536 : 512);
    EXPECT_LE(entriesOf("/proc/self/task"), threads);
    EXPECT_TRUE(controller->window().findChildren<UploadView*>().isEmpty());
}

}  // namespace
