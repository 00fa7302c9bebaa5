#pragma once

#include <string>

/// The window toolkit inside the core's running main loop.
class DGAToolkit {
public:
    DGAToolkit() = delete;

    /// Starts the toolkit if it is not running. Returns "" when it runs, else why it does not; then it may be
    /// tried again. Main thread. Of the process's locale only the character type changes.
    static std::string start();
};
