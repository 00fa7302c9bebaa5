#include "reportproblem/ZipShellCommand.h"

#include "platform/HomePath.h"
#include "platform/Task.h"

void ZipShellCommand::zipFiles(const std::vector<std::string>& files, const std::string& toArchieveWithName,
                               const std::string& inPath,
                               const std::function<void(int reason)>& handle) const {
    const std::string target = getTargetZipFilePathWithName(toArchieveWithName, inPath);
    removePreviousZipFile(target);
    platform::Task task;
    task.program = platform::programForCommand(zipCommand);
    task.arguments = getZipCommandArgumentsWithFilesToBeCompressed(files, target);
    task.output = platform::Task::Output::discardOutput;
    platform::startTask(task, [handle](const platform::TaskResult& result) {
        if (handle)
            handle(result.reason);
    });
}

std::string ZipShellCommand::getTargetZipFilePathWithName(const std::string& name,
                                                          const std::string& andTargetDirectory) const {
    return platform::expandTilde(andTargetDirectory) + "/" + name;
}

std::vector<std::string> ZipShellCommand::getZipCommandArgumentsWithFilesToBeCompressed(
    const std::vector<std::string>& files, const std::string& andTargetFilePath) const {
    std::vector<std::string> arguments{"-jr", andTargetFilePath};
    for (const auto& file : files) {
        if (!file.empty())
            arguments.push_back(platform::expandTilde(file));
    }
    return arguments;
}

void ZipShellCommand::removePreviousZipFile(const std::string& /*path*/) const {}
