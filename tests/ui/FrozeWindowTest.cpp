#include <xcb/xcb.h>

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QScreen>
#include <cstdlib>
#include <thread>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/View/DGAFrozeWindowController.h"
#include "DGAMonitor/View/SendReport/View/DGAButton.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAWindowProgram/DGAModuleWindowFactory.h"
#include "ui/UiTest.h"

namespace {

using namespace std::chrono_literals;

// Closes the prompt from within the call, as the watch does.
class Answers final : public DGAFrozeWindowDelegate {
public:
    void frozeWindowButtonDidClickWithIndex(int index) override {
        given.push_back(index);
        std::this_thread::sleep_for(pause);
        prompt.reset();
    }
    std::vector<int> given;
    std::chrono::milliseconds pause{0};
    std::shared_ptr<DGAFrozeWindowInterface> prompt;
};

class FrozeWindowTest : public ui::UiTest {
protected:
    QWidget* showPrompt(int level = 0) {
        windows.installFactory(std::make_shared<DGAModuleWindowFactory>(nullptr));
        answers->prompt = windows.makeFrozeWindow(answers);
        EXPECT_FALSE(windows.anyVisible());
        answers->prompt->setLevel(level);
        answers->prompt->center();
        answers->prompt->show();
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (window->isVisible() && window->metaObject()->className() == QByteArray("DGAFrozeWindow"))
                return window;
        }
        return nullptr;
    }

    static std::string stateOf(const QWidget& window, const char* property) {
        const std::string command = "xprop -id " + std::to_string(window.effectiveWinId()) + " " + property;
        std::string text;
        FILE* const output = popen(command.c_str(), "r");
        for (int c = fgetc(output); c != EOF; c = fgetc(output))
            text += static_cast<char>(c);
        pclose(output);
        return text;
    }

    std::shared_ptr<Answers> answers = std::make_shared<Answers>();
    DGAApplicationWindows& windows = DGAApplicationWindows::sharedWindows();
};

TEST_F(FrozeWindowTest, EveryWayToAnswerAnswersOnceAndClosesThePrompt) {
    const auto find = [](QWidget& window, const char* name) { return window.findChild<QWidget*>(name); };
    const struct {
        const char* way;
        int answer;
        std::function<void(QWidget&)> act;
    } cases[] = {
        {"click quit and send", 0, [&](QWidget& window) { ui::click(*find(window, "quitSendBtn")); }},
        {"click wait", 1, [&](QWidget& window) { ui::click(*find(window, "waitBtn")); }},
        {"space, at once", 1, [](QWidget&) { ui::press("space"); }},
        {"return, at once", 1, [](QWidget&) { ui::press("Return"); }},
        {"tab and return", 0, [](QWidget&) { ui::press("Tab Return"); }},
        {"escape", 1, [](QWidget&) { ui::press("Escape"); }},
        {"window manager", 1, [](QWidget&) { ui::press("alt+F4"); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.way);
        answers->given.clear();
        const QPointer<QWidget> window = showPrompt();
        ASSERT_TRUE(window);
        ASSERT_TRUE(ui::waitUntilActive(*window));
        EXPECT_TRUE(windows.anyVisible());
        c.act(*window);
        EXPECT_TRUE(ui::waitUntil([&] { return !window && !windows.anyVisible(); }));
        EXPECT_EQ(answers->given, std::vector{c.answer});
    }
}

TEST_F(FrozeWindowTest, ShowsItsTextsWholeInTheMiddleAboveOthersAsItsLevelSays) {
    QWidget other;
    other.resize(1000, 900);
    other.show();
    ASSERT_TRUE(ui::waitUntilActive(other));

    QWidget* const window = showPrompt(3);
    ASSERT_TRUE(window);
    ASSERT_TRUE(ui::waitUntilActive(*window)) << "it does not take the keyboard";
    EXPECT_EQ(window->windowTitle(), lDGAFrozeWindowTitleStr);
    EXPECT_TRUE(window->findChild<QLabel*>("titleLab")->font().bold());
    ui::takePicture("prompt");
    for (const auto* const label : window->findChildren<QLabel*>())
        EXPECT_GE(label->width(), label->sizeHint().width()) << label->text().toStdString();
    for (const auto* const button : window->findChildren<DGAButton*>())
        EXPECT_GE(button->width(), button->fontMetrics().horizontalAdvance(button->text()) + 16);
    const QPoint off = window->geometry().center() - window->screen()->geometry().center();
    EXPECT_LE(off.manhattanLength(), 4);
    EXPECT_NE(stateOf(*window, "_NET_WM_STATE").find("ABOVE"), std::string::npos);

    other.activateWindow();
    ASSERT_TRUE(ui::waitUntilActive(other));
    xcb_connection_t* const watcher = xcb_connect(nullptr, nullptr);
    const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(watcher, xcb_setup_roots_iterator(xcb_get_setup(watcher)).data->root,
                                 XCB_CW_EVENT_MASK, &events);
    std::free(xcb_get_input_focus_reply(watcher, xcb_get_input_focus(watcher), nullptr));
    windows.bringAllVisibleToFront();
    EXPECT_TRUE(ui::waitUntilActive(*window));
    // Strict window managers want it asked for on the user's behalf, with a time.
    uint32_t time = 0;
    while (xcb_generic_event_t* const event = xcb_poll_for_event(watcher)) {
        const auto* const message = reinterpret_cast<xcb_client_message_event_t*>(event);
        if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE && message->window == window->winId() &&
            message->data.data32[0] == 2)
            time = message->data.data32[1];
        std::free(event);
    }
    xcb_disconnect(watcher);
    EXPECT_GT(time, 2U);

    answers->prompt->setLevel(0);
    EXPECT_TRUE(
        ui::waitUntil([&] { return stateOf(*window, "_NET_WM_STATE").find("ABOVE") == std::string::npos; }));
    EXPECT_TRUE(window->isVisible());
}

TEST_F(FrozeWindowTest, ADoubleClickIsOneAnswer) {
    answers->pause = 300ms;
    const QPointer<QWidget> window = showPrompt();
    ASSERT_TRUE(ui::waitUntilActive(*window));
    ui::moveTo(*window->findChild<QWidget*>("quitSendBtn"));
    ASSERT_EQ(std::system("(sleep 0.2; xdotool click --repeat 2 --delay 60 1) &"), 0);
    EXPECT_TRUE(ui::waitUntil([&] { return !window; }));
    ui::runFor(100ms);
    EXPECT_EQ(answers->given, std::vector{0});
}

TEST_F(FrozeWindowTest, IsMovedByItsBackground) {
    QWidget* const window = showPrompt();
    ASSERT_TRUE(window);
    ASSERT_TRUE(ui::waitUntilActive(*window));
    const QPoint before = window->pos();
    ui::moveTo(*window, {6, 6});
    ASSERT_EQ(std::system("xdotool mousedown 1"), 0);
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(std::system("xdotool mousemove_relative 5 8"), 0);
        ui::runFor(20ms);
    }
    ASSERT_EQ(std::system("xdotool mouseup 1"), 0);
    EXPECT_TRUE(ui::waitUntil([&] { return (window->pos() - before).manhattanLength() > 40; }));
    EXPECT_TRUE(answers->given.empty());
}

TEST_F(FrozeWindowTest, WithoutADelegateAButtonDoesNothing) {
    DGAFrozeWindowController controller;
    controller.setDelegate(std::make_shared<Answers>());
    controller.show();
    ASSERT_TRUE(ui::waitUntilActive(controller.window()));
    ui::press("space");
    EXPECT_TRUE(controller.isVisible());
    controller.close();
    EXPECT_FALSE(windows.anyVisible());
}

TEST_F(FrozeWindowTest, AHundredRoundsLeaveNothingBehind) {
    const auto round = [this] {
        ASSERT_TRUE(showPrompt());
        ui::runFor(10ms);
        answers->prompt.reset();
        ui::runFor(5ms);
    };
    for (int i = 0; i < 20; ++i)
        round();
    const auto before = ui::residentKilobytes();
    for (int i = 0; i < 100; ++i)
        round();
    const auto grown = ui::residentKilobytes() - before;
    RecordProperty("grown_kilobytes", std::to_string(grown));
    // A sanitizer keeps what was freed.
    EXPECT_LT(grown, ui::isSanitized() ? 65536 : 512);
    EXPECT_TRUE(ui::waitUntil([] { return QApplication::topLevelWidgets().isEmpty(); }));
    EXPECT_FALSE(windows.anyVisible());
}

}  // namespace
