#pragma once

#include <string>
#include <vector>

#include "platform/ScreenGeometry.h"

/// Takes the screenshot of a report with the command-line tool screencapture.
class DGAScreenshotExtractor {
public:
    /// Captures the screen into a ".png" file and returns when the tool has ended: why there is no picture,
    /// or
    /// "". In the shared /tmp the file's folder must be the user's alone.
    std::string generateScreenshot(const std::string& path) const;

    /// The tool's arguments: no sound, and the screen from its top edge down to the dock; on a system
    /// version that contains "10.9" the whole screen.
    static std::vector<std::string> screenshotArguments(const platform::ScreenFrames& frames,
                                                        const std::string& osVersion,
                                                        const std::string& path);
};
