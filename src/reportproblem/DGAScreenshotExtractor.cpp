#include "reportproblem/DGAScreenshotExtractor.h"

#include <fmt/format.h>

#include <chrono>

#include "DGAMonitor/Utilities/DGAUtilitiesProgram.h"
#include "platform/PrivateFolder.h"
#include "platform/Task.h"

namespace {

constexpr char kScreencapture[] = "/usr/sbin/screencapture";
// The desktop may ask the user first, who may not answer.
constexpr std::chrono::seconds kLongestCapture{30};

bool folderMayBeUsed(const std::string& path) {
    using platform::PrivateFolder;
    return !path.starts_with("/tmp/") ||
           PrivateFolder::open(path.substr(0, path.rfind('/')), PrivateFolder::Create::no);
}

}  // namespace

std::string DGAScreenshotExtractor::generateScreenshot(const std::string& path) const {
    if (!folderMayBeUsed(path))
        return "its folder is not the user's alone";
    platform::Task task;
    task.program = platform::programForCommand(kScreencapture);
    task.arguments =
        screenshotArguments(platform::mainScreenFrames(), DGAUtilities::dga_fetchOSVersion(), path);
    task.surroundings = platform::Task::Surroundings::desktop;
    task.output = platform::Task::Output::collect;
    task.limit = kLongestCapture;
    const platform::TaskResult result = platform::runTask(task);
    if (!result.started)
        return "the tool cannot be started";
    if (result.reason == platform::TaskResult::kSignalled)
        return "the tool took too long";
    // What it says begins with its name.
    const std::string said = result.output.substr(0, result.output.find('\n'));
    const size_t colon = said.find(": ");
    return result.exitStatus == 0 ? "" : said.substr(colon == std::string::npos ? 0 : colon + 2);
}

std::vector<std::string> DGAScreenshotExtractor::screenshotArguments(const platform::ScreenFrames& frames,
                                                                     const std::string& osVersion,
                                                                     const std::string& path) {
    if (osVersion.find("10.9") != std::string::npos)
        return {"-x", path};
    const auto& visible = frames.visible;
    // The tool counts from the top edge down.
    const double height = frames.full.height - visible.y;
    return {"-R", fmt::format("{:.0f},{:.0f},{:.0f},{:.0f}", visible.x, 0.0, visible.width, height), "-x",
            path};
}
