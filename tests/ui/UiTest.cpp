#include "ui/UiTest.h"

#include <unistd.h>

#include <QApplication>
#include <QCursor>
#include <cstdlib>
#include <fstream>

#include "DGAMonitor/DGACoreWindowServices.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAWindowProgram/DGAToolkit.h"
#include "platform/RunLoop.h"

namespace ui {
namespace {

using namespace std::chrono_literals;

// The loop has to turn meanwhile: the window manager may ask the window something.
void xdotool(const std::string& arguments) {
    ASSERT_EQ(std::system(("xdotool " + arguments).c_str()), 0) << arguments;
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

void moveTo(const QWidget& widget, QPoint offset) {
    const QPointF place = widget.mapToGlobal(offset) * widget.devicePixelRatioF();
    xdotool("mousemove " + std::to_string(qRound(place.x())) + " " + std::to_string(qRound(place.y())));
}

void moveTo(const QWidget& widget) {
    moveTo(widget, widget.rect().center());
}

void click(const QWidget& widget) {
    moveTo(widget);
    xdotool("click 1");
}

void press(const std::string& keys) {
    xdotool("key --clearmodifiers " + keys);
}

void type(const std::string& text) {
    xdotool("type --delay 5 '" + text + "'");
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
