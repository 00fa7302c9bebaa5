#pragma once

/// What happens at the start of the program, and when the system ends it.
class AppDelegate {
public:
    /// Begins the log and starts the monitor. Main thread, once, before the run loop runs.
    static void applicationDidFinishLaunching();

    /// The user's session ends: writes what is queued for the trace, which stays, closes the port and ends
    /// the process with status 0. Main thread.
    [[noreturn]] static void applicationWillTerminate();

    /// For std::atexit: the window toolkit calls exit() where a Wayland compositor goes away. Does the same,
    /// but ends the process with status 1, so that nothing is destroyed under threads that still work.
    [[noreturn]] static void applicationWasEnded();
};
