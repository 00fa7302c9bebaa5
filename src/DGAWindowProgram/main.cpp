#include <fcntl.h>
#include <fontconfig/fontconfig.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <thread>

#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAWindowProgram/DGAModuleWindowFactory.h"
#include "DGAWindowProgram/DGAToolkit.h"
#include "DGAWindowProgram/DGAUploadModule.h"
#include "DGAWindowProgram/DGAWindowProgram.h"
#include "platform/LoadableModule.h"
#include "support/ORVNLogger.h"

namespace {

std::shared_ptr<DGAWindowProgram>& program() {
    static auto* const program = new std::shared_ptr<DGAWindowProgram>();
    return *program;
}

std::shared_ptr<DGAUploadWindowInterface> makeUploadWindow() {
    const auto module = platform::LoadableModule::open(kDGAUploadModuleName);
    auto* const entry = module ? module->function<DGAUploadModuleEntry>(kDGAUploadModuleEntry) : nullptr;
    std::shared_ptr<DGAUploadWindowInterface> made;
    if (entry)
        entry(&made);
    return made;
}

[[noreturn]] void endWithoutDisplay(const std::string& why) {
    logWarning("no window can be shown: {}", why);
    program()->end(EXIT_FAILURE);
}

// The assistant's socket is the standard output; what libraries print there must not get into it.
int takeSocket() {
    const int socket = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    struct stat info {};
    if (socket < 0 || fstat(socket, &info) != 0 || !S_ISSOCK(info.st_mode))
        return -1;
    dup2(STDERR_FILENO, STDOUT_FILENO);
    return socket;
}

// Reading the system's fonts takes as long as the toolkit's start, which needs them only for its first text.
void readFontsMeanwhile() {
    try {
        std::thread([] { FcInit(); }).detach();
    } catch (const std::system_error& error) {
        logNotice("the fonts are read later: {}", error.what());
    }
}

}  // namespace

int main() {
    umask(S_IRWXG | S_IRWXO);
    std::signal(SIGPIPE, SIG_IGN);
    const int socket = takeSocket();
    if (socket < 0) {
        fputs("orvanedga-windows: is started by orvanedga, which talks to it\n", stderr);
        return EXIT_FAILURE;
    }
    program() = DGAWindowProgram::start(socket);
    readFontsMeanwhile();
    DGAToolkit::start(endWithoutDisplay);
    auto& windows = DGAApplicationWindows::sharedWindows();
    windows.setServices(program());
    windows.installFactory(std::make_shared<DGAModuleWindowFactory>(makeUploadWindow));
    const int status = QApplication::exec();
    program()->end(status);
}
