#include <malloc.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <string_view>

#include "DGAMonitor/AppDelegate.h"
#include "DGAMonitor/DGAPolicyCheck.h"
#include "platform/RunLoop.h"
#include "platform/TerminationSignal.h"

int main(int argc, char** argv) {
    if (argc > 1 && std::string_view(argv[1]) == "--check-policy")
        return dgaCheckPolicy(argc > 2 ? argv[2] : nullptr);
    umask(S_IRWXG | S_IRWXO);
    // The client's pipes close when it dies.
    std::signal(SIGPIPE, SIG_IGN);
    // A limit on the size of files costs records, not the program.
    std::signal(SIGXFSZ, SIG_IGN);
    // Long messages are given back to the system at once. A limit that adapts itself would keep their memory.
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    // Its threads take turns rather than work side by side, and each arena keeps memory of its own.
    mallopt(M_ARENA_MAX, 1);
    const platform::TerminationSignal termination([] { AppDelegate::applicationWillTerminate(); });
    AppDelegate::applicationDidFinishLaunching();
    // As late as possible: it has to run before everything that exit() ends.
    std::atexit([] { AppDelegate::applicationWasEnded(); });
    platform::RunLoop::main().run();
    return 0;
}
