#pragma once

#include <string_view>

namespace platform {

/// A rectangle on the screen, in points, with the origin of the screen at its bottom left.
struct ScreenFrame {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
};

/// The main screen: all of it, and the part that panels and docks leave free.
struct ScreenFrames {
    ScreenFrame full;
    ScreenFrame visible;
};

/// The frames as the bundled screencapture tells them, so that no display library, which may end a process
/// that loses its display, is loaded here. All zeros where there is no X screen. Waits for that tool, five
/// seconds at most; any thread.
ScreenFrames mainScreenFrames();

/// Reads the tool's two lines "full X Y WIDTH HEIGHT" and "visible X Y WIDTH HEIGHT"; all zeros if they are
/// not whole.
ScreenFrames screenFramesFrom(std::string_view text);

}  // namespace platform
