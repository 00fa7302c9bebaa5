#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tools {

/// A part of the screen, counted from its top left.
struct Rectangle {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(const Rectangle&) const = default;
};

struct CaptureOptions {
    bool help = false;
    bool frames = false;
    Rectangle part;  ///< the whole screen if it is empty
    std::string path;
    std::string fault;  ///< why the arguments cannot be understood
};

CaptureOptions parseCaptureOptions(const std::vector<std::string>& arguments);

/// "X,Y,WIDTH,HEIGHT" in whole numbers; X and Y may be negative.
std::optional<Rectangle> rectangleFrom(const std::string& text);

/// What of a rectangle lies on a screen; all of the screen for an empty rectangle.
Rectangle partOnScreen(const Rectangle& part, int screenWidth, int screenHeight);

}  // namespace tools
