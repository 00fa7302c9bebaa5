#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Runs command-line programs with the resource folder as their working folder. A command path that the
/// system does not have runs the bundled tool of that name. The calls return when the program has ended, on
/// any thread.
class DGATaskTool {
public:
    /// Runs a command line, split at every single blank or tab, so that two in a row give an empty
    /// argument; there is no quoting. Returns all it printed, on both streams; none if that is not UTF-8, ""
    /// if there is no resource folder or the program cannot be started. A program that takes longer than a
    /// minute is killed.
    static std::optional<std::string> runTaskWithCMD(const std::string& commandLine);

    /// Runs a program and throws away what it prints. `terminateHandle`, which may be empty, is called
    /// once, before this returns: with 1 for a program that exited, whatever its status, and 2 for one that
    /// a signal ended. It is not called if nothing was run: without a resource folder, or for a program that
    /// cannot be started.
    static void dga_runTaskWithCMD(const std::string& path,
                                   const std::optional<std::vector<std::string>>& args,
                                   const std::function<void(int reason)>& terminateHandle);
};
