#pragma once

#include <string>

/// Takes the screenshot of a report with the command-line tool screencapture.
class DGAScreenshotExtractor {
public:
    /// Captures the screen into a ".png" file and returns when the tool has ended, whether or not there is
    /// a picture then.
    void generateScreenshot(const std::string& path) const;
};
