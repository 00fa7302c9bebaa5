#include "platform/ScreenGeometry.h"

#include <locale>
#include <sstream>
#include <string>

#include "platform/BundleInfo.h"
#include "platform/Task.h"

namespace platform {

ScreenFrames mainScreenFrames() {
    Task task;
    task.program = BundleInfo::helperFolder() + "/screencapture";
    task.arguments = {"--frames"};
    task.surroundings = Task::Surroundings::desktop;
    task.limit = std::chrono::seconds(5);
    const TaskResult result = runTask(task);
    if (result.reason != TaskResult::kExited || result.exitStatus != 0)
        return {};
    return screenFramesFrom(result.output);
}

ScreenFrames screenFramesFrom(std::string_view text) {
    std::istringstream lines{std::string(text)};
    lines.imbue(std::locale::classic());
    const auto readFrame = [&lines](std::string_view name, ScreenFrame& frame) {
        std::string word;
        return lines >> word >> frame.x >> frame.y >> frame.width >> frame.height && word == name;
    };
    ScreenFrames frames;
    if (readFrame("full", frames.full) && readFrame("visible", frames.visible))
        return frames;
    return {};
}

}  // namespace platform
