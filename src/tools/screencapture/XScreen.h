#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tools/screencapture/Options.h"
#include "tools/screencapture/PictureFile.h"

namespace tools {

/// The screen of the X display that $DISPLAY names, with all monitors that belong to it.
class XScreen {
public:
    /// None if there is no such display.
    static std::optional<XScreen> open();

    int width() const;
    int height() const;

    /// What panels and docks leave free of the current desktop; the whole screen where no window manager
    /// tells.
    Rectangle workArea() const;

    /// A picture of a part that lies on the screen, or why there is none.
    std::optional<Picture> grab(const Rectangle& part, std::string& fault) const;

private:
    struct Connection;
    explicit XScreen(std::shared_ptr<Connection> connection) : connection_(std::move(connection)) {}
    std::shared_ptr<Connection> connection_;
};

}  // namespace tools
