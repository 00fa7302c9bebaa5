#include "reportproblem/DGAScreenshotExtractor.h"

#include <fmt/format.h>

#include <chrono>

#include "DGAMonitor/Utilities/DGAUtilitiesProgram.h"
#include "platform/PrivateFolder.h"
#include "platform/Task.h"

namespace {

constexpr char kScreencapture[] = "/usr/sbin/screencapture";
// The desktop may ask the user first.
constexpr std::chrono::minutes kLongestCapture{1};

bool folderMayBeUsed(const std::string& path) {
    using platform::PrivateFolder;
    return !path.starts_with("/tmp/") ||
           PrivateFolder::open(path.substr(0, path.rfind('/')), PrivateFolder::Create::no);
}

}  // namespace

void DGAScreenshotExtractor::generateScreenshot(const std::string& path) const {
    if (!folderMayBeUsed(path))
        return;
    platform::Task task;
    task.program = platform::programForCommand(kScreencapture);
    task.arguments =
        screenshotArguments(platform::mainScreenFrames(), DGAUtilities::dga_fetchOSVersion(), path);
    task.surroundings = platform::Task::Surroundings::desktop;
    task.output = platform::Task::Output::discardOutput;
    task.limit = kLongestCapture;
    platform::runTask(task);
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
