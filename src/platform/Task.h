#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace platform {

/// A program to run, without a shell: arguments reach it as they are. It gets the standard streams and none
/// of our other descriptors, the default signal dispositions, an empty signal mask, our umask, a process
/// group of its own, and of our environment what it needs: nothing else, so that no secret of the client's
/// reaches it.
struct Task {
    enum class Output {
        collect,        ///< standard output and error, in the order written, into the result
        discard,        ///< both are read and thrown away
        discardOutput,  ///< the same of standard output; standard error stays ours
        toHandle        ///< standard output into `handle`; standard error stays ours
    };

    /// What of our environment it gets; each holds the one before.
    enum class Surroundings {
        none,
        system,   ///< search path, user, home and its folders, language, time zone
        display,  ///< the display, what desktop it is
        desktop   ///< the session's bus, and what toolkits read: for programs of the user's own
    };

    std::string program;
    std::vector<std::string> arguments;
    std::string input;  ///< its standard input, at most 64 KiB
    Surroundings surroundings = Surroundings::system;
    std::string workingFolder;  ///< ours if empty
    Output output = Output::collect;
    int handle = -1;  ///< stays the caller's
    /// After this long the program and its process group are killed; 0 for no limit.
    std::chrono::milliseconds limit{0};
    /// No file that the program writes grows beyond this; one that tries is ended by a signal. 0 for no
    /// limit.
    uint64_t largestFile = 0;
    /// The reading end of a pipe: when its other end is closed or written to, the program and its process
    /// group are killed. A copy is kept, so that it may be closed once the program is started; -1 for none.
    int stopHandle = -1;
};

struct TaskResult {
    static constexpr int kExited = 1;     ///< by itself, whatever its exit status
    static constexpr int kSignalled = 2;  ///< ended by a signal

    bool started = false;
    int reason = 0;      ///< one of the above once it was started
    int exitStatus = 0;  ///< of one that exited
    std::string output;
    bool outputCut = false;  ///< there was more than kMostOutput
};

/// What is kept of a program's output; the rest is read and thrown away.
inline constexpr size_t kMostOutput = size_t{16} * 1024 * 1024;

/// Runs a program and returns when it has ended. Its output is read while it runs. A process that it leaves
/// behind with the output still open is waited for half a second at most. Not for the main thread, unless
/// the program is known to be quick. A program that cannot be started is reported at level 8.
TaskResult runTask(const Task& task);

/// Starts a program and returns at once. `ended`, which may be empty, is called on a thread of its own when
/// the program has ended. False, and it is never called, if the program cannot be started.
bool startTask(const Task& task, std::function<void(const TaskResult&)> ended);

/// The program that a command path means: that file, or where the system has none the bundled tool of the
/// same file name (BundleInfo::helperFolder()), if there is one.
std::string programForCommand(const std::string& path);

}  // namespace platform
