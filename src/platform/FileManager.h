#pragma once

#include <string>

namespace platform {

/// Shows a file in its folder by the desktop's file manager (org.freedesktop.FileManager1), or opens the
/// folder where there is none of that kind. Returns at once; the main loop has to run. Main thread.
void showInFileManager(const std::string& path);

}  // namespace platform
