#include "tools/screencapture/Options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

namespace tools {

std::optional<Rectangle> rectangleFrom(const std::string& text) {
    std::array<int, 4> numbers{};
    const char* at = text.data();
    const char* const end = at + text.size();
    for (size_t i = 0; i < numbers.size(); ++i) {
        if (i > 0 && (at == end || *at++ != ','))
            return std::nullopt;
        const auto [next, error] = std::from_chars(at, end, numbers[i]);
        if (error != std::errc())
            return std::nullopt;
        at = next;
    }
    if (at != end || numbers[2] < 0 || numbers[3] < 0)
        return std::nullopt;
    return Rectangle{numbers[0], numbers[1], numbers[2], numbers[3]};
}

Rectangle partOnScreen(const Rectangle& part, int screenWidth, int screenHeight) {
    if (part.width == 0 || part.height == 0)
        return {0, 0, screenWidth, screenHeight};
    const auto within = [](int64_t value, int most) {
        return static_cast<int>(std::clamp<int64_t>(value, 0, most));
    };
    const int left = within(part.x, screenWidth);
    const int top = within(part.y, screenHeight);
    return {left, top, within(int64_t{part.x} + part.width, screenWidth) - left,
            within(int64_t{part.y} + part.height, screenHeight) - top};
}

CaptureOptions parseCaptureOptions(const std::vector<std::string>& arguments) {
    CaptureOptions options;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument == "--frames") {
            options.frames = true;
        } else if (argument == "-R") {
            const auto part = rectangleFrom(++i < arguments.size() ? arguments[i] : "");
            if (!part)
                options.fault = "-R needs a rectangle X,Y,WIDTH,HEIGHT";
            options.part = part.value_or(Rectangle());
        } else if (argument == "-x") {
            continue;  // never makes a sound
        } else if (argument.empty() || argument.front() == '-') {
            options.fault = "cannot understand \"" + argument + "\"";
        } else if (!options.path.empty()) {
            options.fault = "more than one file given";
        } else {
            options.path = argument;
        }
    }
    if (options.fault.empty() && options.path.empty() && !options.help && !options.frames)
        options.fault = "no file given";
    return options;
}

}  // namespace tools
