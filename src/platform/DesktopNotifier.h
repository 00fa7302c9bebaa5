#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace platform {

/// Shows a message of the desktop's own kind, by its notification service (org.freedesktop.Notifications) or,
/// where that cannot be reached, by the portal (org.freedesktop.portal.Notification); without either, and
/// without a session bus, nothing. Never with a sound. Main thread, whose loop serves it; nothing blocks.
class DesktopNotifier {
public:
    struct Button {
        std::string key;
        std::string label;
    };
    struct Message {
        std::string title;
        std::string text;  ///< plain
        std::string icon;  ///< a name of the icon theme; also of the program's desktop entry
        std::vector<Button> buttons;
    };
    /// Gets the key of the button that was pressed, at most once.
    using Chosen = std::function<void(const std::string& key)>;

    DesktopNotifier();
    /// What is shown stays; nobody is told any more what was chosen.
    ~DesktopNotifier();
    DesktopNotifier(const DesktopNotifier&) = delete;
    DesktopNotifier& operator=(const DesktopNotifier&) = delete;

    /// Once.
    void show(Message message, Chosen chosen);

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace platform
