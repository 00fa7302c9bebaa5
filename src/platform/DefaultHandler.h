#pragma once

#include <string>

namespace platform {

/// Full path of the executable that the desktop opens a URI scheme's links with ("mailto"); "" if it has none
/// for it, or its program is not there. Reads the user's and the system's settings afresh. Any thread.
std::string defaultHandlerPath(const std::string& scheme);

}  // namespace platform
