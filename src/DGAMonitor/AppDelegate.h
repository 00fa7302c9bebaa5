#pragma once

/// What happens at the start of the program.
class AppDelegate {
public:
    /// Begins the log and starts the monitor. Main thread, once, before the run loop runs.
    static void applicationDidFinishLaunching();
};
