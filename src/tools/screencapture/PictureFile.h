#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tools {

/// Rows from the top, three bytes (red, green, blue) for each point.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> points;
};

/// Writes a picture as a PNG file of mode 0600. Returns why that failed, or ""; after a failure there is no
/// file. A file that is there is overwritten; a link and anything but a file are left as they are.
std::string writePng(const Picture& picture, const std::string& path);

/// The same with a PNG file that is already there.
std::string copyPng(const std::string& from, const std::string& path);

}  // namespace tools
