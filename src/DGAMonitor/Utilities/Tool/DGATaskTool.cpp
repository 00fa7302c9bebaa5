#include "DGAMonitor/Utilities/Tool/DGATaskTool.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/BundleInfo.h"
#include "platform/Task.h"
#include "platform/Text.h"
#include "support/ORVNLogger.h"

namespace {

constexpr std::chrono::minutes kLongestCommand{1};

std::vector<std::string> splitAtBlanks(const std::string& line) {
    std::vector<std::string> pieces{""};
    for (const char c : line) {
        if (c == ' ' || c == '\t')
            pieces.emplace_back();
        else
            pieces.back() += c;
    }
    return pieces;
}

// The task without its output; none where there is no folder to run it in.
std::optional<platform::Task> taskInResourceFolder(const std::string& path,
                                                   std::vector<std::string> arguments) {
    platform::Task task;
    task.workingFolder = platform::BundleInfo::resourceFolder();
    std::error_code failed;
    if (!std::filesystem::is_directory(task.workingFolder, failed)) {
        logWarning("{} is not run: there is no folder {}", path, task.workingFolder);
        return std::nullopt;
    }
    task.program = platform::programForCommand(path);
    task.arguments = std::move(arguments);
    return task;
}

// UTF-8, also with zero bytes in it.
bool isText(std::string bytes) {
    std::replace(bytes.begin(), bytes.end(), '\0', ' ');
    return platform::isUtf8(bytes);
}

// Without the part of a character that stands at the end of a cut text.
void dropPartOfCharacter(std::string& text) {
    const auto byteAt = [&text](size_t back) { return static_cast<unsigned char>(text[text.size() - back]); };
    for (size_t back = 1; back <= 3 && back <= text.size(); ++back) {
        if (byteAt(back) >= 0xC0) {
            const size_t length = byteAt(back) >= 0xF0 ? 4 : byteAt(back) >= 0xE0 ? 3 : 2;
            if (length > back)
                text.resize(text.size() - back);
            return;
        }
    }
}

}  // namespace

std::optional<std::string> DGATaskTool::runTaskWithCMD(const std::string& commandLine) {
    auto pieces = splitAtBlanks(commandLine);
    const std::string path = std::move(pieces.front());
    pieces.erase(pieces.begin());
    auto task = taskInResourceFolder(path, std::move(pieces));
    if (!task)
        return "";
    task->limit = kLongestCommand;
    platform::TaskResult result = platform::runTask(*task);
    if (result.outputCut)
        dropPartOfCharacter(result.output);
    if (!isText(result.output))
        return std::nullopt;
    return std::move(result.output);
}

void DGATaskTool::dga_runTaskWithCMD(const std::string& path,
                                     const std::optional<std::vector<std::string>>& args,
                                     const std::function<void(int reason)>& terminateHandle) {
    auto task = taskInResourceFolder(path, args.value_or(std::vector<std::string>()));
    if (!task)
        return;
    task->output = platform::Task::Output::discard;
    const platform::TaskResult result = platform::runTask(*task);
    if (result.started && terminateHandle)
        terminateHandle(result.reason);
}
