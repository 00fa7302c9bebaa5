#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <filesystem>
#include <fstream>

#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/View/DGASavePanel.h"
#include "DGAMonitor/View/SendReport/View/DGAProblemReportingWindow.h"
#include "ui/UiTest.h"

namespace {

struct Validator final : DGASavePanelDelegate {
    bool panel(DGASavePanel& /*panel*/, const std::optional<std::string>& validateURL,
               std::string* /*error*/) override {
        asked.push_back(validateURL.value_or("(null)"));
        return answer;
    }
    std::vector<std::string> asked;
    bool answer = true;
};

class SavePanelTest : public ui::UiTest {
protected:
    void SetUp() override {
        UiTest::SetUp();
        std::filesystem::create_directories(folder);
        window.resize(400, 300);
        window.showInFront();
        ASSERT_TRUE(ui::waitUntilActive(window));
    }
    void TearDown() override {
        UiTest::TearDown();
        std::filesystem::remove_all(folder);
    }

    DGASavePanel* open(const std::string& name) {
        panel = DGASavePanel::dga_showSavePanelWithName(name, {"zip"}, &window, &validator,
                                                        [this](int result) { results.push_back(result); });
        EXPECT_TRUE(ui::waitUntil([this] { return dialog() != nullptr; }));
        EXPECT_TRUE(ui::waitUntilActive(*dialog()));
        return panel;
    }
    QFileDialog* dialog() { return window.findChild<QFileDialog*>(); }
    void typeName(const std::string& name) {
        ui::press("ctrl+a");
        ui::type(name);
    }

    const std::string folder = std::string(getenv("HOME")) + "/Downloads";
    DGAProblemReportingWindow window;
    Validator validator;
    std::vector<int> results;
    QPointer<DGASavePanel> panel;
};

TEST_F(SavePanelTest, SuggestsANameInDownloadsAndAddsTheEnding) {
    open("report.zip");
    EXPECT_EQ(dialog()->findChild<QLineEdit*>()->text(), "report.zip");
    ui::press("Escape");
    EXPECT_TRUE(ui::waitUntil([this] { return !panel; }));
    EXPECT_TRUE(validator.asked.empty());
    open("HV_report 1");
    EXPECT_EQ(dialog()->findChild<QLineEdit*>()->text(), "HV_report 1.zip");
    ui::takePicture("save_panel");
    EXPECT_TRUE(window.isVisible());
    typeName("other.txt");
    ui::press("Return");
    EXPECT_TRUE(ui::waitUntil([this] { return !panel; }));
    EXPECT_EQ(validator.asked, std::vector{folder + "/other.txt.zip"});
    EXPECT_EQ(results, (std::vector{0, 1})) << "cancelled, then chosen";
}

TEST_F(SavePanelTest, SpeaksTheLanguageOfTheClient) {
    auto& language = DGASessionRecord::sharedRecord().language;
    for (const auto& [name, title, label] : {std::tuple{"German", "Speichern", "Datei&name:"},
                                             {"pt", "Salvar", "&Nome do arquivo:"},
                                             {"Japanese", "保存", "ファイル名(&N):"},
                                             {"English", "Save", "File &name:"}}) {
        language.set(name);
        open("report");
        const auto* const fileName = dialog()->findChild<QLabel*>("fileNameLabel");
        EXPECT_EQ(fileName->text().toStdString(), label);
        EXPECT_EQ(dialog()->windowTitle().toStdString(), title);
        const auto* const save = dialog()->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save);
        EXPECT_EQ(save->text().toStdString(), title);
        ui::press("Escape");
        EXPECT_TRUE(ui::waitUntil([this] { return !panel; }));
    }
}

TEST_F(SavePanelTest, AsksBeforeItReplaces) {
    std::ofstream(folder + "/report.zip") << "old";
    open("report");
    for (const bool replace : {false, true}) {
        ui::press("Return");
        ASSERT_TRUE(ui::waitUntil([] { return qobject_cast<QMessageBox*>(QApplication::activeWindow()); }));
        EXPECT_TRUE(validator.asked.empty());
        ui::press(replace ? "alt+y" : "Escape");
        ASSERT_TRUE(
            ui::waitUntil([&] { return replace ? !panel : QApplication::activeWindow() == dialog(); }));
    }
    EXPECT_EQ(validator.asked, std::vector{folder + "/report.zip"});
    EXPECT_EQ(results, std::vector{1});
}

TEST_F(SavePanelTest, StaysWhereTheDelegateRefusesOrTheFolderCannotBeWritten) {
    validator.answer = false;
    open("report");
    ui::press("Return");
    EXPECT_EQ(validator.asked.size(), 1U);
    EXPECT_TRUE(dialog() && dialog()->isVisible());
    typeName("/nowhere/report");
    ui::press("Return");
    EXPECT_TRUE(ui::waitUntil([] { return qobject_cast<QMessageBox*>(QApplication::activeWindow()); }));
    EXPECT_EQ(validator.asked.size(), 1U);
    EXPECT_TRUE(results.empty());
    delete panel;
    EXPECT_TRUE(results.empty());
}

}  // namespace
