#include "DGAMonitor/Report/DGASystemProfileExtractor.h"

#include <unistd.h>

#include <chrono>

#include "platform/PrivateFolder.h"
#include "platform/Task.h"
#include "support/ORVNLogger.h"

namespace {

constexpr uint64_t kLargestProfile = 16'777'216;

}  // namespace

void DGASystemProfileExtractor::generateSystemProfiler(const std::string& path,
                                                       const std::string& detailLevel) {
    ORVN_LOG_METHOD();
    const int file = platform::openEmptyFileAtPath(path);
    if (file < 0) {
        logWarning("there is no system profile: cannot write {}", path);
        return;
    }
    platform::Task task;
    task.program = platform::programForCommand(sysCommand);
    task.arguments = {"-xml", "-detailLevel", detailLevel};
    task.surroundings = platform::Task::Surroundings::display;
    task.output = platform::Task::Output::toHandle;
    task.handle = file;
    task.limit = std::chrono::minutes(2);
    task.largestFile = kLargestProfile;
    platform::runTask(task);
    close(file);
}
