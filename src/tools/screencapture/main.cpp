#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tools/screencapture/Options.h"
#include "tools/screencapture/PictureFile.h"
#include "tools/screencapture/Portal.h"
#include "tools/screencapture/XScreen.h"

namespace {

constexpr char kHelp[] =
    "usage: screencapture [-x] [-R X,Y,WIDTH,HEIGHT] FILE.png\n"
    "       screencapture --frames\n"
    "Captures the screen into a PNG file that only the user can read. On Wayland the desktop is asked, "
    "which\n"
    "gives the whole screen; on X11 -R chooses a part, counted from the top left, and an empty rectangle\n"
    "means the whole screen. There is never a sound, -x or not.\n"
    "--frames prints the X screen's full frame and the frame that panels leave free, each as x, y, width "
    "and\n"
    "height with the origin at the bottom left.\n";
constexpr int kBadUsage = 2;

int failed(const std::string& fault) {
    std::fprintf(stderr, "screencapture: %s\n", fault.c_str());
    return EXIT_FAILURE;
}

int printFrames() {
    const auto screen = tools::XScreen::open();
    if (!screen)
        return failed("there is no X display");
    const tools::Rectangle area = screen->workArea();
    std::printf("full 0 0 %d %d\nvisible %d %d %d %d\n", screen->width(), screen->height(), area.x,
                screen->height() - area.y - area.height, area.width, area.height);
    return EXIT_SUCCESS;
}

int capture(const tools::CaptureOptions& options) {
    std::string fault = "there is no display";
    // An X server inside a Wayland session sees nothing but its own windows.
    if (const char* wayland = std::getenv("WAYLAND_DISPLAY"); wayland && *wayland) {
        const tools::PortalAnswer answer = tools::screenshotFromPortal();
        fault = answer.path.empty() ? answer.fault : tools::copyPng(answer.path, options.path);
        // It was made for this picture, often in the user's folder of pictures.
        if (!answer.path.empty())
            unlink(answer.path.c_str());
        if (answer.reached)
            return fault.empty() ? EXIT_SUCCESS : failed(fault);
    }
    const auto screen = tools::XScreen::open();
    if (!screen)
        return failed(fault);
    const auto part = tools::partOnScreen(options.part, screen->width(), screen->height());
    const auto picture = screen->grab(part, fault);
    if (!picture)
        return failed(fault);
    fault = tools::writePng(*picture, options.path);
    return fault.empty() ? EXIT_SUCCESS : failed(fault);
}

}  // namespace

int main(int argc, char** argv) {
    umask(077);
    const auto options = tools::parseCaptureOptions(std::vector<std::string>(argv + 1, argv + argc));
    if (options.help) {
        std::fputs(kHelp, stdout);
        return EXIT_SUCCESS;
    }
    if (!options.fault.empty()) {
        std::fprintf(stderr, "screencapture: %s\n%s", options.fault.c_str(), kHelp);
        return kBadUsage;
    }
    return options.frames ? printFrames() : capture(options);
}
