#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Runs command-line programs in the resource folder. The calls return when the program has ended.
class DGATaskTool {
public:
    /// Runs a program and throws away what it prints. `terminateHandle` is called once, before this returns,
    /// with 1 for a program that exited and 2 for one that a signal ended; not if nothing could be run.
    static void dga_runTaskWithCMD(const std::string& path,
                                   const std::optional<std::vector<std::string>>& args,
                                   const std::function<void(int reason)>& terminateHandle);
};
