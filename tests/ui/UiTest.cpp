#include "ui/UiTest.h"

#include <unistd.h>

#include <QApplication>
#include <QCursor>
#include <QKeyEvent>
#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "DGAMonitor/DGACoreWindowServices.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAWindowProgram/DGAToolkit.h"
#include "platform/RunLoop.h"

namespace ui {
namespace {

using namespace std::chrono_literals;

/// Counts the keys and clicks that the display server has delivered.
class Arrivals final : public QObject {
public:
    bool eventFilter(QObject* receiver, QEvent* event) override {
        if (receiver->isWindowType() && event->spontaneous())
            number += event->type() == QEvent::MouseButtonRelease || isKey(*event);
        return false;
    }

    int number = 0;

private:
    static bool isKey(const QEvent& event) {
        const auto* const press =
            event.type() == QEvent::KeyPress ? static_cast<const QKeyEvent*>(&event) : nullptr;
        return press && (press->key() < Qt::Key_Shift || press->key() > Qt::Key_Alt);
    }
};

Arrivals& arrivals() {
    static auto* const counter = [] {
        auto* const made = new Arrivals;
        qApp->installEventFilter(made);
        return made;
    }();
    return *counter;
}

// The loop has to turn meanwhile: the window manager may ask the window something. On a busy machine what was
// sent comes late; what no window of ours gets is waited for in vain.
void xdotool(const std::string& arguments, int expected = 0) {
    const int enough = arrivals().number + expected;
    ASSERT_EQ(std::system(("xdotool " + arguments).c_str()), 0) << arguments;
    for (const auto end = std::chrono::steady_clock::now() + 1s;
         arrivals().number < enough && std::chrono::steady_clock::now() < end;)
        runFor(5ms);
    runFor(60ms);
}

}  // namespace

UiTest::UiTest() {
    DGAToolkit::start(nullptr);
    DGAApplicationWindows::sharedWindows().setServices(std::make_shared<DGACoreWindowServices>());
}

void UiTest::SetUp() {
    xdotool("mousemove 2 2");
}

void UiTest::TearDown() {
    if (HasFailure())
        takePicture(testing::UnitTest::GetInstance()->current_test_info()->name());
}

bool waitUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        runFor(5ms);
    }
    return true;
}

void runFor(std::chrono::milliseconds time) {
    platform::RunLoop::main().runFor(time);
}

bool waitUntilActive(const QWidget& window) {
    const bool active = waitUntil([&] { return window.isVisible() && window.isActiveWindow(); });
    runFor(50ms);
    return active;
}

// What has just appeared may move others, and the window manager enlarges the window later still.
void moveTo(const QWidget& widget, QPoint offset) {
    const bool isEntered = !widget.testAttribute(Qt::WA_TransparentForMouseEvents);
    QPoint before;
    for (const auto end = std::chrono::steady_clock::now() + 5s; std::chrono::steady_clock::now() < end;) {
        const QPoint place = (QPointF(widget.mapToGlobal(offset)) * widget.devicePixelRatioF()).toPoint();
        if (place == before && (widget.underMouse() || !isEntered))
            return;
        before = place;
        xdotool("mousemove " + std::to_string(place.x()) + " " + std::to_string(place.y()));
    }
    ADD_FAILURE() << "the pointer does not reach it";
}

void moveTo(const QWidget& widget) {
    moveTo(widget, widget.rect().center());
}

void click(const QWidget& widget) {
    moveTo(widget);
    xdotool("click 1", 1);
}

void press(const std::string& keys) {
    xdotool("key --clearmodifiers " + keys, static_cast<int>(std::count(keys.begin(), keys.end(), ' ') + 1));
}

void type(const std::string& text) {
    xdotool("type --delay 5 '" + text + "'", static_cast<int>(QString::fromStdString(text).size()));
}

long residentKilobytes() {
    long pages = 0;
    std::ifstream("/proc/self/statm").ignore(64, ' ') >> pages;
    return pages * sysconf(_SC_PAGESIZE) / 1024;
}

bool isSanitized() {
    const char* const name = std::getenv("ORVANEDGA_SANITIZE");
    return name && *name;
}

void takePicture(const std::string& name) {
    const char* const folder = std::getenv("ORVANEDGA_PICTURES");
    if (!folder)
        return;
    runFor(100ms);
    const std::string command = "import -window root '" + std::string(folder) + "/" + name + ".png'";
    EXPECT_EQ(std::system(command.c_str()), 0);
}

}  // namespace ui
