#pragma once

#include <string>

/// The window toolkit, on the main loop.
class DGAToolkit {
public:
    DGAToolkit() = delete;

    /// Starts the toolkit if it is not running. Of the process's locale only the character type changes.
    /// Where no display answers, `noDisplay` is called with the reason, and must not return. Main thread.
    static void start(void (*noDisplay)(const std::string& why));
};
