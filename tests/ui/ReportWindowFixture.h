#pragma once

#include <QImage>
#include <QLabel>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/DGACoreWindowServices.h"
#include "DGAMonitor/Report/DGAReportGenerator.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/View/SendReport/Controller/DGAProblemReportingWindowController.h"
#include "DGAMonitor/View/SendReport/View/DGAButton.h"
#include "DGAMonitor/View/SendReport/View/DGACheckboxButton.h"
#include "DGAMonitor/View/SendReport/View/DGAIconButton.h"
#include "DGAMonitor/View/SendReport/View/DGATextField.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "ui/UiTest.h"

namespace ui {

/// What the upload window was asked for: contents, description, category.
using Upload = std::tuple<DGAReportOptions, std::string, int64_t>;

class FakeUploadWindow final : public DGAUploadWindowInterface {
public:
    bool isVisible() const override { return visible; }
    void bringToFront() override { ++broughtToFront; }
    void center() override {}
    void close() override {}
    void showUploadWindowIfScreenShot(const DGAReportOptions& options, const std::string& comment,
                                      int64_t problemCatagory) override {
        asked.emplace_back(options, comment, problemCatagory);
        DGAApplicationWindows::sharedWindows().services().uploadChanged(
            {"/tmp/x.zip", "sending", "", comment, problemCatagory});
    }
    std::vector<Upload> asked;
    int broughtToFront = 0;
    bool visible = false;
};

/// The problem reporting window with the real report generator, whose tools are stood in for: its archive is
/// a file that says so.
class ReportWindowTest : public UiTest {
protected:
    void SetUp() override {
        UiTest::SetUp();
        record().serviceType = 1;
        record().enableSendReport = true;
        record().isFreeze = false;
        record().language.set("English");
        record().confID.set("123");
        record().userID.set("7");
        DGAReportGenerator::Tools tools;
        tools.run = [this](const platform::Task& task) {
            { const std::lock_guard<std::mutex> wait(zip); }
            packed.insert(packed.end(), task.arguments.begin() + 2, task.arguments.end());
            std::ofstream(task.arguments.at(1) + ".zip") << "archive";
            platform::TaskResult result;
            result.started = true;
            result.reason = platform::TaskResult::kExited;
            result.exitStatus = zipStatus;
            return result;
        };
        tools.systemProfile = [](const auto&, const auto&) {};
        tools.screenshot = [this](const std::string& path) {
            QImage picture(640, 400, QImage::Format_RGB32);
            picture.fill(Qt::darkGreen);
            picture.save(QString::fromStdString(path));
            return pictureFault;
        };
        tools.crashRecord = [](const auto&, const auto&) { return std::vector<platform::CoredumpModule>(); };
        tools.saveTime = [] { return "20240315_143025"; };
        DGAApplicationWindows::sharedWindows().setServices(std::make_shared<DGACoreWindowServices>(tools));
        DGAApplicationWindows::sharedWindows().uploadWindowCtrl = upload;
    }
    void TearDown() override {
        UiTest::TearDown();
        gate.reset();
        controller.reset();
        DGAApplicationWindows::sharedWindows().services().setDraft({});
        runFor(std::chrono::milliseconds(50));
        DGAApplicationWindows::sharedWindows().uploadWindowCtrl.reset();
        for (const char* path : {"/tmp/orvdga", "/tmp/target"})
            std::filesystem::remove_all(path);
    }

    static DGASessionRecord& record() { return DGASessionRecord::sharedRecord(); }

    void make() {
        controller =
            std::make_shared<DGAProblemReportingWindowController>(DGAProblemReportingWindowController::Parts{
                {}, [this](const ReportMail& mail, const auto& composed) {
                    mails.push_back(mail);
                    composed(hasMailProgram);
                }});
    }
    void open() {
        if (!controller)
            make();
        controller->showPRWindow();
        ASSERT_TRUE(waitUntilActive(controller->window()));
    }

    template <typename Widget>
    Widget& find(const char* name) {
        return *controller->window().findChild<Widget*>(name);
    }
    DGATextField& field() { return find<DGATextField>("_textField"); }
    DGAButton& send() { return find<DGAButton>("_sendBtn"); }
    DGAButton& save() { return find<DGAButton>("_saveBtn"); }
    DGADropDownListView& list() { return find<DGADropDownListView>("_listV"); }
    LarimoDropdownBox& box() { return *list().findChild<LarimoDropdownBox*>(); }

    /// By the keyboard, as the entries lie in the menu.
    void choose(const char* title) {
        const int way = box().findText(title) - box().currentIndex();
        box().setFocus();
        for (int i = 0; i < std::abs(way); ++i)
            press(way > 0 ? "Down" : "Up");
        EXPECT_EQ(box().title(), title);
    }
    void describe(const std::string& text) {
        field().setFocus();
        type(text);
    }
    /// As "1111": whether Send, Save, Cancel and Close are enabled.
    std::string status() {
        std::string text;
        for (const char* name : {"_sendBtn", "_saveBtn", "_cancelBtn", "_closeBtn"})
            text += find<QWidget>(name).isEnabled() ? '1' : '0';
        return text;
    }
    bool placeholderShows() { return find<QLabel>("_placeholderLab").isVisible(); }
    /// No archive gets ready until released.
    void holdZip() { gate = std::make_unique<std::lock_guard<std::mutex>>(zip); }

    static constexpr char kArchive[] = "/tmp/orvdga/123_7_20240315_143025.zip";

    int zipStatus = 0;
    std::string pictureFault;
    std::vector<std::string> packed;  ///< what zip was given
    bool hasMailProgram = true;
    std::mutex zip;
    std::unique_ptr<std::lock_guard<std::mutex>> gate;
    std::vector<ReportMail> mails;
    std::shared_ptr<FakeUploadWindow> upload = std::make_shared<FakeUploadWindow>();
    std::shared_ptr<DGAProblemReportingWindowController> controller;
};

}  // namespace ui
