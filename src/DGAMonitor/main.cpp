#include <sys/stat.h>

#include <csignal>
#include <cstdlib>

#include "DGAMonitor/AppDelegate.h"
#include "platform/RunLoop.h"
#include "platform/TerminationSignal.h"

int main() {
    umask(S_IRWXG | S_IRWXO);
    // The client's pipes close when it dies.
    std::signal(SIGPIPE, SIG_IGN);
    const platform::TerminationSignal termination([] { AppDelegate::applicationWillTerminate(); });
    AppDelegate::applicationDidFinishLaunching();
    // As late as possible: it has to run before everything that exit() ends.
    std::atexit([] { AppDelegate::applicationWasEnded(); });
    platform::RunLoop::main().run();
    return 0;
}
