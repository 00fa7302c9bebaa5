#include <gmock/gmock.h>
#include <httplib.h>
#include <sys/mount.h>

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QTreeWidget>
#include <algorithm>
#include <ctime>
#include <nlohmann/json.hpp>
#include <thread>

#include "DGAMonitor/Report/DGAKeptReports.h"
#include "DGAMonitor/Session/DGASessionTelemetry.h"
#include "DGAMonitor/Session/DGATelemetryManager.h"
#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/View/SendReport/View/DGANoticeLine.h"
#include "DGAMonitor/View/SendReport/View/DGASendReportInfoView.h"
#include "platform/RunLoop.h"
#include "ui/ReportWindowFixture.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using ui::Upload;

class ProblemReportingWindowTest : public ui::ReportWindowTest {
protected:
    QFileDialog* savePanel() { return controller->window().findChild<QFileDialog*>(); }

    /// Save, up to the panel.
    void openSavePanel() {
        std::filesystem::remove(kArchive);  // the next one would get another name
        ui::click(save());
        ASSERT_TRUE(ui::waitUntil([this] { return savePanel() && savePanel()->isActiveWindow(); }));
        EXPECT_EQ(status(), "0000");
        ui::runFor(50ms);
    }
    QMessageBox* question() { return qobject_cast<QMessageBox*>(QApplication::activeWindow()); }
    /// Closes by keys, and answers the question.
    void leaveBy(const std::string& keys, bool really) {
        ui::press(keys);
        ASSERT_TRUE(ui::waitUntil([this] { return question() != nullptr; }));
        EXPECT_TRUE(controller->isVisible());
        ui::press(really ? "Left Return" : "Return");
        EXPECT_TRUE(ui::waitUntil([&] { return !question() && controller->isVisible() != really; }));
        EXPECT_TRUE(really || ui::waitUntilActive(controller->window()));
    }
    QTreeWidget* files() { return controller->window().findChild<QTreeWidget*>(); }
    QWidget* thumbnail() { return controller->window().findChild<QWidget*>("_thumbnailBtn"); }
    std::string notice() { return find<DGANoticeLine>("_noticeV").text().toStdString(); }
    DGAButton& noticeButton() { return *find<DGANoticeLine>("_noticeV").findChild<DGAButton*>(); }
    void fillIn() {
        describe("no sound");
        choose(lDGADropListAudio);
    }
};

TEST_F(ProblemReportingWindowTest, SendingNeedsADescriptionAndACategory) {
    record().enableSendReport = false;
    open();
    EXPECT_EQ(QApplication::focusWidget(), &field());
    EXPECT_FALSE(find<QWidget>("_titleLab").isVisible()) << "the desktop's frame has it";
    EXPECT_EQ(controller->window().accessibleDescription(), find<QLabel>("_msgLab").text()) << "is read out";
    EXPECT_TRUE(placeholderShows());
    EXPECT_EQ(status(), "0011");
    ui::press("space");
    EXPECT_FALSE(placeholderShows());
    EXPECT_EQ(status(), "0011");
    choose(lDGADropListAudio);
    EXPECT_EQ(status(), "1111") << "a blank is a description";
    const QImage picture = controller->window().grab().toImage();
    for (auto* const button : controller->window().findChildren<DGAButton*>()) {
        const QPoint besideText(10, button->height() / 2);
        EXPECT_EQ(picture.pixelColor(button->mapTo(&controller->window(), besideText)) == DGAStyle::kAccent,
                  button == &send())
            << button->text().toStdString() << ": only what sends is filled";
    }
    choose(lDGADropListChooseType);
    EXPECT_EQ(status(), "0011");
    choose(lDGADropListOther);
    EXPECT_EQ(status(), "1111");
    field().setFocus();
    ui::press("BackSpace");
    EXPECT_TRUE(placeholderShows());
    EXPECT_EQ(status(), "0011");
    EXPECT_EQ(controller->fetchProblemCatagoryByTitle("no such title"), 0);
}

TEST_F(ProblemReportingWindowTest, OffersTheCategoriesOfTheServiceAndSendsTheirNumbers) {
    using Numbers = std::vector<int64_t>;
    const struct {
        int service;
        bool frozen;
        Numbers numbers;  // after "choose a type"
    } cases[] = {{1, false, {1, 2, 3, 4, 5, 0}},
                 {1, true, {6, 1, 2, 3, 4, 5, 0}},
                 {10, false, {7, 8, 9, 1, 2, 3, 4, 5, 0}},
                 {10, true, {6, 7, 8, 9, 1, 2, 3, 4, 5, 0}},
                 {3, false, {0}},
                 {0, true, {6, 0}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.service) + (c.frozen ? " frozen" : ""));
        record().serviceType = c.service;
        record().isFreeze = c.frozen;
        upload->asked.clear();
        make();
        Numbers sent;
        for (size_t i = 1; i <= c.numbers.size(); ++i) {
            controller->showPRWindow();
            ASSERT_EQ(box().count(), static_cast<int>(c.numbers.size()) + 1);
            EXPECT_EQ(box().title(), dgaText(c.frozen ? lDGADropListNotResponding : lDGADropListChooseType));
            EXPECT_EQ(find<QWidget>("_fullBtn").isVisible(), c.service != 10);
            field().setStringValue("x");
            EXPECT_EQ(send().isEnabled(), c.frozen) << "a frozen client is a category already";
            emit box().activated(static_cast<int>(i));
            send().click();
            EXPECT_FALSE(controller->isVisible());
        }
        for (const auto& asked : upload->asked)
            sent.push_back(std::get<2>(asked));
        EXPECT_EQ(sent, c.numbers);
    }
}

TEST_F(ProblemReportingWindowTest, AnOpenWindowKeepsWhatWasEnteredAndAClosedOneForgetsIt) {
    open();
    fillIn();
    ui::click(find<QWidget>("_fullBtn"));
    open();
    EXPECT_EQ(field().stringValue(), "no sound");
    EXPECT_EQ(box().title(), lDGADropListAudio);
    EXPECT_FALSE(find<DGACheckboxButton>("_fullBtn").selected());
    EXPECT_TRUE(send().isEnabled());

    record().isFreeze = true;
    open();
    EXPECT_EQ(box().title(), dgaText(lDGADropListNotResponding));
    record().isFreeze = false;
    open();
    EXPECT_EQ(box().title(), dgaText(lDGADropListNotResponding));
    EXPECT_EQ(box().findText(dgaText(lDGADropListNotResponding)), -1);
    controller->window().showMaximized();
    ui::click(send());
    EXPECT_THAT(upload->asked,
                ElementsAre(Upload({.systemInfo = true,
                                    .serviceType = 1,
                                    .description = "no sound",
                                    .category = DGAReportCategory{6, lDGADropListNotResponding}},
                                   "no sound", 6)));

    open();
    EXPECT_FALSE(controller->window().isMaximized());
    EXPECT_EQ(field().stringValue(), "") << "that draft has become a report";
    EXPECT_EQ(box().title(), lDGADropListChooseType);
    EXPECT_TRUE(find<DGACheckboxButton>("_fullBtn").selected());
    EXPECT_TRUE(placeholderShows());
    EXPECT_FALSE(send().isEnabled());
    fillIn();
    ui::click(send());
    EXPECT_EQ(upload->asked.back(), Upload({.screenShot = true,
                                            .systemInfo = true,
                                            .serviceType = 1,
                                            .description = "no sound",
                                            .category = DGAReportCategory{2, lDGADropListAudio}},
                                           "no sound", 2))
        << "the menu is that of now";
}

TEST_F(ProblemReportingWindowTest, WhoClosesIsAskedAndFindsTheDraftAgain) {
    for (const char* const way : {"Escape", "alt+F4"}) {
        SCOPED_TRACE(way);
        open();
        ui::press(way);
        EXPECT_TRUE(ui::waitUntil([this] { return !controller->isVisible(); })) << "nothing would be lost";
        open();
        fillIn();
        ui::click(find<QWidget>("_fullBtn"));
        leaveBy(way, false);
        EXPECT_EQ(field().stringValue(), "no sound");
        leaveBy(way, true);
        make();  // as the next window program does
        record().language.set("German");
        open();
        EXPECT_EQ(field().stringValue(), "no sound");
        EXPECT_EQ(box().title(), "Audio");
        EXPECT_FALSE(find<DGACheckboxButton>("_fullBtn").selected());
        EXPECT_EQ(send().text(), "Bericht senden");
        EXPECT_EQ(status(), "1111");
        record().language.set("English");
        field().selectAll();
        ui::press("BackSpace Escape");
        EXPECT_TRUE(ui::waitUntil([this] { return !controller->isVisible(); }));
    }
    open();
    fillIn();
    EXPECT_TRUE(ui::waitUntil([] {
        return !DGAApplicationWindows::sharedWindows().services().draft().description.empty();
    })) << "also where the windows crash";
    ui::press("Escape");
    ASSERT_TRUE(ui::waitUntil([this] { return question() != nullptr; }));
    controller->close();
    EXPECT_TRUE(ui::waitUntil([this] {
        const auto* const left = controller->window().findChild<QMessageBox*>();
        return !left || !left->isVisible();
    })) << "the question goes with its window";
    record().isFreeze = true;
    open();
    EXPECT_EQ(field().stringValue(), "no sound");
    EXPECT_EQ(box().title(), dgaText(lDGADropListNotResponding));
}

TEST_F(ProblemReportingWindowTest, AnOpenWindowActsAsItIsLabelled) {
    open();
    record().enableSendReport = false;
    record().serviceType = 10;
    fillIn();
    open();
    EXPECT_EQ(send().text(), lDGAProblemReportWindowSendBtnStr);
    EXPECT_EQ(box().findText(lDGADropListMeeting), -1);
    ui::press("ctrl+Return");
    ASSERT_EQ(upload->asked.size(), 1U);
    EXPECT_EQ(std::get<0>(upload->asked[0]).serviceType, 1);
    open();
    EXPECT_EQ(send().text(), lDGARPWindowSendMailStr);
    EXPECT_TRUE(save().isVisible());
    EXPECT_NE(box().findText(lDGADropListMeeting), -1);
}

TEST_F(ProblemReportingWindowTest, WithoutAnUploadWindowNothingThatWasEnteredIsLost) {
    DGAApplicationWindows::sharedWindows().uploadWindowCtrl.reset();
    open();
    fillIn();
    ui::click(send());
    EXPECT_TRUE(controller->isVisible());
    EXPECT_EQ(field().stringValue(), "no sound");
    EXPECT_EQ(status().at(0), '1');
}

TEST_F(ProblemReportingWindowTest, SendMailMakesAReportAndHandsItOver) {
    record().enableSendReport = false;
    record().clientVersion.set("39.%@");
    open();
    EXPECT_EQ(send().text(), lDGARPWindowSendMailStr);
    EXPECT_EQ(find<QLabel>("_msgLab").text(), dgaText(lDGARPWindowMsg1Str));
    EXPECT_TRUE(save().isVisible());
    describe("no %@ sound");
    choose(lDGADropListAudio);
    holdZip();
    ui::click(send());
    EXPECT_EQ(status(), "0000");
    describe("!");
    EXPECT_EQ(status(), "0000") << "typing must not start a second report";
    record().isFreeze = true;
    controller->showPRWindow();
    record().isFreeze = false;
    EXPECT_EQ(status(), "0000") << "nor may being shown again";
    choose(lDGADropListAudio);
    ui::press("Return ctrl+Return");
    leaveBy("Escape", false);
    gate.reset();
    EXPECT_TRUE(ui::waitUntil([this] { return !controller->isVisible(); }));
    ASSERT_EQ(mails.size(), 1U);
    const ReportMail& mail = mails.front();
    EXPECT_EQ(mail._recipient, "");
    EXPECT_EQ(mail._mailTitle, "Problem report: Tellan Orvane Meetings for Linux (version 39.%@)");
    EXPECT_EQ(mail._mailBody, DGAUtilities::dga_localize(lDGAReportMailBodyStr) + "\n\n" +
                                  DGAUtilities::dga_localize(lDGADropListAlertTitle) +
                                  "\nAudio\nno %@ sound!");
    EXPECT_THAT(mail._attachments, ElementsAre(kArchive));
    EXPECT_TRUE(std::filesystem::exists(kArchive));
    EXPECT_EQ(status(), "1111");
    open();
    EXPECT_EQ(field().stringValue(), "") << "the mail has it";
}

TEST_F(ProblemReportingWindowTest, AReportThatFailsMayBeTriedAgain) {
    record().enableSendReport = false;
    zipStatus = 14;
    open();
    fillIn();
    holdZip();
    ui::click(save());
    EXPECT_TRUE(find<QWidget>("_spinV").isVisible());
    gate.reset();
    EXPECT_TRUE(ui::waitUntil([this] { return notice() == "The report could not be prepared"; }));
    EXPECT_EQ(status(), "1111");
    EXPECT_FALSE(find<QWidget>("_spinV").isVisible());
    ui::takePicture("failed");
    EXPECT_FALSE(savePanel());
    zipStatus = 0;
    ui::click(noticeButton());
    ASSERT_TRUE(ui::waitUntil([this] { return savePanel() && savePanel()->isActiveWindow(); }));
    EXPECT_EQ(notice(), "");
    ui::press("Escape");

    // Without a mail program the report lies where the user finds it.
    hasMailProgram = false;
    pictureFault = "denied";
    for (const std::string name : {"123_7_20240315_143026.zip", "123_7_20240315_143026-2.zip"}) {
        EXPECT_TRUE(ui::waitUntil([this] { return status() == "1111"; }));
        ui::click(send());
        EXPECT_TRUE(ui::waitUntil([&] {
            return notice() == "No email program is set up. The report was saved as " +
                                   std::string(std::getenv("HOME")) + "/" + name +
                                   ". The report has no screen capture.";
        })) << notice();
        EXPECT_TRUE(controller->isVisible());
    }
    ui::press("Escape");
    EXPECT_TRUE(ui::waitUntil([this] { return !controller->isVisible(); })) << "nothing would be lost";
}

TEST_F(ProblemReportingWindowTest, SaveMovesTheArchiveToWhereTheUserSays) {
    record().enableSendReport = false;
    std::filesystem::create_directories("/tmp/target/small");
    open();
    fillIn();
    openSavePanel();
    EXPECT_EQ(savePanel()->findChild<QLineEdit*>()->text(), "123_7_20240315_143025.zip");
    controller->showPRWindow();
    EXPECT_TRUE(ui::waitUntilActive(*savePanel()));
    EXPECT_EQ(status(), "0000");
    field().setStringValue("");
    ui::press("Escape");
    EXPECT_TRUE(ui::waitUntil([this] { return status() == "1111"; }))
        << "after cancelling, also without text";
    EXPECT_TRUE(controller->isVisible());

    const auto saveAs = [&](const std::string& path) {
        ui::press("ctrl+a");
        ui::type(path);
        ui::press("Return");
        EXPECT_TRUE(ui::waitUntil([this] { return !savePanel(); }));
    };
    openSavePanel();
    std::filesystem::remove(kArchive);
    saveAs("/tmp/target/vanished.zip");
    EXPECT_EQ(notice(), "The report is no longer there.");
    EXPECT_EQ(status(), "1111");
    EXPECT_FALSE(std::filesystem::exists("/tmp/target/vanished.zip"));

    openSavePanel();
    saveAs("/tmp/target/mine");
    EXPECT_EQ(notice(), "The report was saved as /tmp/target/mine.zip.");
    EXPECT_EQ(noticeButton().text(), "Show in Folder");
    ui::takePicture("saved");
    EXPECT_FALSE(std::filesystem::exists(kArchive));
    EXPECT_EQ(std::filesystem::file_size("/tmp/target/mine.zip"), 7U);
    ui::click(find<QWidget>("_cancelBtn"));
    EXPECT_FALSE(controller->isVisible()) << "nothing would be lost";

    if (mount("none", "/tmp/target/small", "tmpfs", 0, "size=4k,nr_inodes=1") != 0)
        GTEST_SKIP() << "needs the right to mount";
    open();
    fillIn();
    openSavePanel();
    ui::press("ctrl+a");
    ui::type("/tmp/target/small/full.zip");
    ui::press("Return");
    ASSERT_TRUE(ui::waitUntil([this] { return question() != nullptr; }));
    EXPECT_EQ(question()->text(), "The report could not be saved. The disk is full.");
    ui::press("Return");
    EXPECT_TRUE(ui::waitUntil([this] { return savePanel()->isActiveWindow(); }))
        << "another place may be chosen";
    EXPECT_TRUE(std::filesystem::is_empty("/tmp/target/small"));
    EXPECT_TRUE(std::filesystem::exists(kArchive)) << "what could not be moved stays";
    umount("/tmp/target/small");
    saveAs("/tmp/target/other.zip");
    EXPECT_TRUE(std::filesystem::exists("/tmp/target/other.zip"));
}

TEST_F(ProblemReportingWindowTest, WhatIsListedIsWhatIsPacked) {
    const std::string log = std::string(std::getenv("HOME")) + "/client.log";
    std::ofstream(log) << "what the client did";
    record().logFileName.set(log);
    record().uploadURL.set("https://reports.example.com/upload.do");
    record().userEmail.set("asa@example.com");
    record().userName.set("Åsa Öberg");
    record().confName.set("Weekly");
    open();
    fillIn();
    ui::click(find<QWidget>("_contentsBtn"));
    ASSERT_TRUE(ui::waitUntil([this] { return files() && thumbnail() && thumbnail()->isVisible(); }));
    ASSERT_TRUE(ui::waitUntilActive(*files()->window()));
    ui::takePicture("contents");
    EXPECT_LT(files()->viewport()->y(), 4) << "a row of headings";
    EXPECT_GE(files()->viewport()->width(), files()->header()->length()) << "a column is cut off";
    EXPECT_GE(files()->height(), 10 * files()->fontMetrics().height()) << "there is room for ten";
    const auto texts = files()->window()->findChildren<QLabel*>();
    const auto says = [&](const QString& text) {
        return std::any_of(texts.begin(), texts.end(),
                           [&](const QLabel* label) { return label->text() == text; });
    };
    EXPECT_TRUE(says("These files will be sent to reports.example.com:"));
    EXPECT_TRUE(says("Name: Åsa Öberg\nEmail: asa@example.com\nMeeting: Weekly"));
    EXPECT_GT(thumbnail()->mapToGlobal(QPoint()).y(), files()->mapToGlobal(files()->rect().bottomLeft()).y());
    const auto enlarged = [this] {
        const auto labels = QApplication::activeWindow()->findChildren<QLabel*>();
        return QApplication::activeWindow() != files()->window() &&
               std::any_of(labels.begin(), labels.end(), [](const QLabel* label) {
                   return label->pixmap(Qt::ReturnByValue).size() == QSize(640, 400);
               });
    };
    ui::click(*thumbnail());
    EXPECT_TRUE(ui::waitUntil([&] { return QApplication::activeWindow() && enlarged(); }));
    ui::press("Escape");
    ASSERT_TRUE(ui::waitUntilActive(*files()->window()));
    auto* const row = files()->findItems("client.log", Qt::MatchExactly).value(0);
    ASSERT_TRUE(row);
    EXPECT_EQ(row->text(1), "Meeting program log");
    EXPECT_EQ(row->text(2), QString("1\u00a0kB"));
    auto* const summary = files()->findItems("orvdga_report.json", Qt::MatchExactly).value(0);
    EXPECT_FALSE(summary->flags() & Qt::ItemIsUserCheckable);

    files()->setCurrentItem(row);
    files()->setFocus();
    ui::press("Return");
    QPlainTextEdit* text = nullptr;
    EXPECT_TRUE(ui::waitUntil(
        [&] { return (text = files()->window()->findChild<QPlainTextEdit*>()) && text->isVisible(); }));
    EXPECT_EQ(text->toPlainText(), "what the client did");
    EXPECT_TRUE(text->isReadOnly());
    ui::press("Escape");
    ASSERT_TRUE(ui::waitUntilActive(*files()->window()));
    ui::press("space");
    EXPECT_EQ(row->checkState(0), Qt::Unchecked);
    ui::click(*files()->window()->findChild<QWidget*>("_closeListBtn"));
    EXPECT_TRUE(ui::waitUntil([this] { return !files(); }));
    EXPECT_TRUE(ui::waitUntilActive(controller->window()));

    std::ofstream("/tmp/orvgpc.ovt") << "came later";
    ui::press("ctrl+Return");
    ASSERT_EQ(upload->asked.size(), 1U);
    const DGAReportOptions& options = std::get<0>(upload->asked[0]);
    EXPECT_THAT(options.without, ElementsAre("client.log"));
    bool ended = false;
    const auto maker = DGAApplicationWindows::sharedWindows().services().makeReportMaker();
    maker->startGenerateReportIfScreenShot(options, [&] { platform::performOnMain([&] { ended = true; }); });
    EXPECT_TRUE(ui::waitUntil([&] { return ended; }));
    EXPECT_THAT(packed, testing::Contains(testing::EndsWith("orvdga_screenshot_20240315_143025.png")));
    EXPECT_THAT(packed, testing::Not(testing::Contains(testing::AnyOf(testing::EndsWith("client.log"),
                                                                      testing::EndsWith("orvgpc.ovt")))));
    std::filesystem::remove("/tmp/orvgpc.ovt");
    record().logFileName.set(std::nullopt);
    record().userName.set(std::nullopt);
    record().confName.set(std::nullopt);
}

TEST_F(ProblemReportingWindowTest, AListOfFiftyFilesOpensAtOnceAndDropsWhatIsNotSent) {
    const std::string folder = std::string(std::getenv("HOME")) + "/Library/Logs/KT";
    std::filesystem::create_directories(folder);
    for (int i = 0; i < 50; ++i)
        std::ofstream(folder + "/app" + std::to_string(i) + ".log") << std::string(20000, 'x');
    record().serviceType = 10;
    open();
    ui::runFor(300ms);
    const std::clock_t begin = std::clock();  // what others take of the machine does not count
    find<QAbstractButton>("_contentsBtn").click();
    ASSERT_TRUE(ui::waitUntil([this] { return files() && files()->isVisible(); }));
    const auto opened = 1000 * (std::clock() - begin) / CLOCKS_PER_SEC;
    EXPECT_GE(files()->topLevelItemCount(), 51);
    RecordProperty("open_list_milliseconds", std::to_string(opened));
    EXPECT_LT(opened, ui::isSanitized() ? 2000 : 100);
    const auto gatherings = [] {
        return std::count_if(std::filesystem::directory_iterator("/tmp/orvdga"), {}, [](const auto& entry) {
            return entry.path().filename().string().starts_with(".packing_");
        });
    };
    EXPECT_EQ(gatherings(), 1);
    controller->close();
    EXPECT_TRUE(ui::waitUntil([&] { return gatherings() == 0; }));
    std::filesystem::remove_all(folder);
}

TEST_F(ProblemReportingWindowTest, OffersReportsThatHaveNotBeenSent) {
    const DGAKeptReports store;
    for (const char* const number : {"1_2_20260102_030405", "1_2_20260102_030406"}) {
        const std::string archive = std::string("/tmp/orvdga/") + number + ".zip";
        std::filesystem::create_directories("/tmp/orvdga");
        std::ofstream(archive) << number;
        DGAKeptReports::Report report;
        report.description = number;
        report.category = 3;
        report.time = number == std::string("1_2_20260102_030405") ? "2026-11-20T10:15:00+00:00"
                                                                   : "2026-11-21T10:15:00+00:00";
        EXPECT_TRUE(store.keep(archive, report));
    }
    open();
    auto& kept = find<DGANoticeLine>("_keptV");
    const auto says = [&] { return kept.text().toStdString(); };
    EXPECT_TRUE(ui::waitUntil([&] {
        return says() == "A report from 21 November 2026 10:15 has not been sent.";
    })) << says();
    const auto button = [&](int at) -> DGAButton& { return *kept.findChildren<DGAButton*>().value(at); };
    EXPECT_EQ(button(2).text().toStdString(), "1/2 ›");
    EXPECT_EQ(button(2).accessibleDescription().toStdString(),
              "A report from 20 November 2026 10:15 has not been sent.");
    ui::takePicture("kept");
    // All of them can be reached; and the one that the user comes for stands first.
    for (const char* const day : {"20", "21"}) {
        ui::click(button(2));
        EXPECT_NE(says().find(day + std::string(" November")), std::string::npos) << says();
    }
    record().keptReport.set("1_2_20260102_030405");
    controller->showPRWindow();
    EXPECT_TRUE(ui::waitUntil([&] { return says().find("20 November") != std::string::npos; })) << says();
    record().keptReport.set(std::nullopt);
    ui::click(button(2));
    upload->visible = true;
    ui::click(button(0));
    EXPECT_TRUE(upload->asked.empty()) << "another one is on its way";
    EXPECT_EQ(upload->broughtToFront, 1);
    upload->visible = false;
    ui::click(button(0));
    ASSERT_EQ(upload->asked.size(), 1U);
    const DGAReportOptions options = std::get<0>(upload->asked[0]);
    EXPECT_EQ(options.kept, "1_2_20260102_030406");
    EXPECT_EQ(std::get<1>(upload->asked[0]), "1_2_20260102_030406");
    EXPECT_EQ(std::get<2>(upload->asked[0]), 3);
    EXPECT_EQ(says(), "A report from 20 November 2026 10:15 has not been sent.");
    EXPECT_FALSE(button(2).isVisible()) << "there is no other one";
    ui::click(button(1));
    ASSERT_TRUE(ui::waitUntil([this] { return question() != nullptr; }));
    ui::press("Left Return");
    EXPECT_TRUE(ui::waitUntil([&] { return store.reports().size() == 1; }));
    EXPECT_EQ(says(), "");

    // Where nothing may be sent it can be saved, whatever is being written.
    controller->close();
    record().enableSendReport = false;
    open();
    EXPECT_TRUE(
        ui::waitUntil([&] { return says() == "A report from 21 November 2026 10:15 has not been sent."; }));
    describe("More");
    for (const bool really : {false, true}) {
        EXPECT_EQ(kept.findChild<DGAButton*>()->text(), "Save");
        ui::click(*kept.findChild<DGAButton*>());
        ASSERT_TRUE(ui::waitUntil([this] { return savePanel() && savePanel()->isActiveWindow(); }));
        if (really) {
            ui::press("ctrl+a");
            ui::type("/tmp/orvdga/kept.zip");
        }
        ui::press(really ? "Return" : "Escape");
        EXPECT_TRUE(ui::waitUntil([&] { return !savePanel() && says().empty() == really; }));
        EXPECT_EQ(status(), "0011") << "no category";
    }
    EXPECT_EQ(notice(), "The report was saved as /tmp/orvdga/kept.zip.");
    EXPECT_EQ(field().stringValue(), "More");
    EXPECT_TRUE(store.reports().empty());
    EXPECT_TRUE(std::filesystem::exists("/tmp/orvdga/kept.zip"));
    std::ofstream(store.archivePath(options.kept)) << "archive";

    struct Told final : DGAReportGeneratorDelegate {
        void reportFileGeneratedAt(const std::string& path) override { archive = path + ".zip"; }
        std::string archive;
    };
    const auto told = std::make_shared<Told>();
    const auto maker = DGAApplicationWindows::sharedWindows().services().makeReportMaker();
    maker->setDelegate(told);
    maker->startGenerateReportIfScreenShot(options, {});
    EXPECT_TRUE(ui::waitUntil([&] { return !told->archive.empty(); }));
    EXPECT_EQ(told->archive, store.archivePath(options.kept));
    store.remove(options.kept);
}

TEST_F(ProblemReportingWindowTest, MayBeClosedOrReleasedWhileAReportIsMade) {
    record().enableSendReport = false;
    const auto start = [this](DGAButton& button) {
        holdZip();
        field().setStringValue("x");
        emit box().activated(2);
        button.click();
    };
    const auto finish = [this] {
        gate.reset();
        EXPECT_TRUE(ui::waitUntil([] { return std::filesystem::exists(kArchive); }));
        ui::runFor(100ms);
        std::filesystem::remove(kArchive);
        EXPECT_TRUE(mails.empty());
    };
    for (const char* const name : {"_sendBtn", "_saveBtn"}) {
        SCOPED_TRACE(name);
        open();
        start(find<DGAButton>(name));
        leaveBy("alt+F4", true);  // the way out of a report that never gets ready
        open();
        EXPECT_EQ(status(), "1111");
        EXPECT_FALSE(find<QWidget>("_spinV").isVisible());
        finish();
        EXPECT_TRUE(controller->isVisible());
        EXPECT_FALSE(savePanel());
        EXPECT_EQ(status(), "1111") << "that report was another's";

        start(find<DGAButton>(name));
        controller.reset();
        finish();
    }
    open();
    fillIn();
    openSavePanel();
    controller->close();
    EXPECT_TRUE(ui::waitUntil([this] { return !savePanel(); }));
    open();
    fillIn();
    openSavePanel();
    controller.reset();
    EXPECT_TRUE(ui::waitUntil([] { return QApplication::topLevelWidgets().isEmpty(); }));
}

TEST_F(ProblemReportingWindowTest, TakesALongTextOfAnyKindWithoutLoss) {
    const std::string kinds =
        "line one\nline two\ttab  blanks \xC2\xA0no-break\n\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D "
        "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB \xE2\x80\xA8separator \xF0\x9F\x98\x80 "
        "\xE6\x97\xA5\xE6\x9C\xAC";
    std::string text = kinds;
    while (text.size() < 12000)
        text += "0123456789 abcdefghijklmnopqrstuvwxyz ";
    open();
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
    QElapsedTimer clock;
    clock.start();
    ui::press("ctrl+v");
    EXPECT_TRUE(ui::waitUntil([&] { return field().hasText(); }));
    const auto pasted = clock.restart();
    for (const char* key : {"e", "Return", "f"})
        ui::press(key);
    const auto typed = clock.elapsed();
    RecordProperty("paste_milliseconds", std::to_string(pasted));
    RecordProperty("three_keys_milliseconds", std::to_string(typed));
    EXPECT_LT(typed, ui::isSanitized() ? 20000 : 2000);
    EXPECT_TRUE(field().stringValue() == text + "e\nf");
    choose(lDGADropListVideo);
    const auto& counter = find<QLabel>("_counterLab");
    const int over = field().toPlainText().toUcs4().size() - 10000;
    EXPECT_EQ(counter.text(),
              QString("The description is too long. Characters over the limit: %1.").arg(over));
    ui::takePicture("too_long");
    EXPECT_EQ(status(), "0011");
    const auto cutTo = [this](int characters) {
        field().setStringValue(field().toPlainText().remove(characters, 100000).toStdString());
    };
    cutTo(10003);  // three characters take two units each
    EXPECT_EQ(counter.text(), "Characters left: 0");
    EXPECT_EQ(status(), "1111");
    cutTo(9502);
    EXPECT_FALSE(counter.isVisible());
    const std::string shown = field().stringValue();
    ui::click(send());
    ASSERT_EQ(upload->asked.size(), 1U);
    EXPECT_TRUE(std::get<1>(upload->asked[0]) == shown);
}

TEST_F(ProblemReportingWindowTest, IsUsedWithTheKeyboardAlone) {
    record().enableSendReport = false;
    open();
    fillIn();
    field().setFocus();
    std::vector<std::string> visited;
    for (int i = 0; i < 9; ++i) {
        const QWidget* const focus = QApplication::focusWidget();
        ASSERT_TRUE(focus);
        const QString name = focus->objectName();
        visited.push_back(name.isEmpty() ? focus->metaObject()->className() : name.toStdString());
        EXPECT_FALSE(focus->accessibleName().isEmpty() && !qobject_cast<const QPushButton*>(focus))
            << visited.back();
        ui::press("Tab");
    }
    EXPECT_THAT(visited,
                ElementsAre("_textField", "LarimoDropdownBox", "_fullBtn", "_sysInfoBtn",
                            "DGAMouseTrackingButton", "_contentsBtn", "_cancelBtn", "_saveBtn", "_sendBtn"));
    EXPECT_EQ(QApplication::focusWidget(), &field()) << "and around";
    for (int i = 0; i < 9; ++i)
        ui::press("shift+Tab");
    EXPECT_EQ(QApplication::focusWidget(), &field()) << "and back";

    ui::press("Tab Tab space");
    EXPECT_FALSE(find<DGACheckboxButton>("_fullBtn").selected());
    ui::press("Return");
    EXPECT_EQ(status(), "1111") << "Return alone sends nothing";
    ui::press("ctrl+Return");
    EXPECT_TRUE(ui::waitUntil([this] { return mails.size() == 1; }));

    open();
    ui::press("ctrl+Return");
    EXPECT_TRUE(controller->isVisible()) << "there is nothing to send";
    ui::press("Escape");
    EXPECT_FALSE(controller->isVisible());
    EXPECT_EQ(mails.size(), 1U);
}

TEST_F(ProblemReportingWindowTest, AnInputMethodComposesWithoutThePlaceholderBehindIt) {
    open();
    QInputMethodEvent composing("\xE3\x81\x82", {});
    QApplication::sendEvent(&field(), &composing);
    EXPECT_FALSE(placeholderShows());
    EXPECT_EQ(field().stringValue(), "");
    QInputMethodEvent given;
    QApplication::sendEvent(&field(), &given);
    EXPECT_TRUE(placeholderShows());
    QInputMethodEvent entered;
    entered.setCommitString("\xE3\x81\x82");
    QApplication::sendEvent(&field(), &entered);
    EXPECT_FALSE(placeholderShows());
    EXPECT_EQ(field().stringValue(), "\xE3\x81\x82");
}

TEST_F(ProblemReportingWindowTest, EveryButtonTellsItsTelemetryAction) {
    std::mutex mutex;
    std::string bodies;
    httplib::Server server;
    server.Post(".*", [&](const httplib::Request& request, httplib::Response&) {
        const std::lock_guard<std::mutex> hold(mutex);
        bodies += request.body;
    });
    const int port = server.bind_to_any_port("127.0.0.1");
    std::thread thread([&] { server.listen_after_bind(); });
    record().telemetryEnable = true;
    record().telemetryMetricsURL.set("http://127.0.0.1:" + std::to_string(port) + "/");
    record().telemetryHttpHeaders.set(std::make_shared<nlohmann::json>(nlohmann::json::object()));
    dgaSetupTelemetry(record());

    const auto expectAction = [&](const char* button, bool sends, const std::string& action,
                                  const char* text = "x") {
        SCOPED_TRACE(action);
        record().enableSendReport = sends;
        controller.reset();
        open();
        field().setStringValue(text);
        emit box().activated(2);
        find<QAbstractButton>(button).click();
        if (action.empty())
            return;  // the next one comes behind what was sent here
        const auto arrived = [&] {
            const std::lock_guard<std::mutex> hold(mutex);
            return bodies.find("\"" + action + "\"") != std::string::npos;
        };
        EXPECT_TRUE(ui::waitUntil(arrived));
        const std::lock_guard<std::mutex> hold(mutex);
        for (const std::string other : {"2601", "2602", "2603", "2607"})
            EXPECT_TRUE(action == other || bodies.find("\"" + other + "\"") == std::string::npos) << bodies;
        bodies.clear();
    };
    expectAction("_closeBtn", true, "", "");
    expectAction("_saveBtn", false, "2601");
    expectAction("_sendBtn", false, "2602");
    expectAction("_cancelBtn", true, "2603", "");
    expectAction("_sendBtn", true, "2607");
    server.stop();
    thread.join();
    record().telemetryMrg = nullptr;
    DGATelemetryManager::closeOrvTelemetry();
}

TEST_F(ProblemReportingWindowTest, NothingIsCutOffInAnyLanguage) {
    const auto check = [this](const std::string& name) {
        const QWidget& window = controller->window();
        for (const auto* const label : window.findChildren<QLabel*>()) {
            const bool whole = label->height() >= label->heightForWidth(label->width());
            EXPECT_TRUE(whole || !label->isVisible()) << label->text().toStdString();
        }
        for (const auto* const button : window.findChildren<DGAButton*>())
            EXPECT_GE(button->width(), button->fontMetrics().horizontalAdvance(button->text()) + 16);
        for (int i = 0; i < box().count(); ++i) {
            EXPECT_LE(box().fontMetrics().horizontalAdvance(box().itemText(i)), box().width() - 18)
                << box().itemText(i).toStdString();
        }
        for (const QWidget* const child : window.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            const bool inside = window.rect().contains(child->geometry());
            EXPECT_TRUE(inside || child->isWindow() || !child->isVisible())
                << child->objectName().toStdString();
        }
        EXPECT_LE(window.height(), 640);
        ui::takePicture(name);
    };
    for (const std::string language :
         {"English", "German", "ru", "Japanese", "zh_CN", "zh_TW", "ko", "French", "Italian", "Spanish",
          "es_419", "sv", "Dutch", "pt", "tr", "da", "fi", "pl"}) {
        SCOPED_TRACE(language);
        for (const bool sends : {true, false}) {
            record().language.set(language);
            record().enableSendReport = sends;
            record().serviceType = sends ? 1 : 10;
            controller.reset();
            open();
            check("report_" + language + (sends ? "" : "_mail"));
        }
    }
}

TEST_F(ProblemReportingWindowTest, AHundredRoundsLeaveNothingBehind) {
    const auto round = [this](bool anew) {
        if (anew)
            make();
        controller->showPRWindow();
        field().setStringValue("some words");
        ui::runFor(10ms);
        controller->close();
        ui::runFor(5ms);
    };
    for (const bool anew : {false, true}) {
        make();
        for (int i = 0; i < 20; ++i)
            round(anew);
        const auto before = ui::residentKilobytes();
        for (int i = 0; i < 100; ++i)
            round(anew);
        const auto grown = ui::residentKilobytes() - before;
        RecordProperty(anew ? "grown_made_anew_kilobytes" : "grown_kilobytes", std::to_string(grown));
        EXPECT_LT(grown, ui::isSanitized() ? 131072 : 2048) << anew;
    }
    EXPECT_FALSE(DGAApplicationWindows::sharedWindows().anyVisible());
}

}  // namespace
