#pragma once

#include <functional>
#include <memory>
#include <string>

namespace platform {

/// The desktop's own dialog that asks where to save a file, by its portal
/// (org.freedesktop.portal.FileChooser). It asks itself before a file is replaced. Main thread, whose loop
/// serves it; nothing blocks.
class SaveDialogPortal {
public:
    struct Question {
        std::string title;
        std::string accept;  ///< the label of the button
        std::string folder;  ///< in which it begins
        std::string name;    ///< that is suggested
        std::string
            parent;  ///< the window that waits, as portals name it: "x11:<hexadecimal id>"; "" if unknown
    };
    enum class End { chosen, cancelled, unavailable };
    using Answered = std::function<void(End end, const std::string& path)>;

    /// `answered` is told once, later: the path only if one was chosen; unavailable where no portal shows
    /// such a dialog.
    SaveDialogPortal(Question question, Answered answered);
    /// The dialog goes away, and nobody is told.
    ~SaveDialogPortal();
    SaveDialogPortal(const SaveDialogPortal&) = delete;
    SaveDialogPortal& operator=(const SaveDialogPortal&) = delete;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace platform
