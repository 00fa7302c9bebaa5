#pragma once

#include <string>

namespace tools {

struct PortalAnswer {
    bool reached = false;  ///< there is a desktop portal, whatever it said
    std::string path;      ///< the picture that it made
    std::string fault;     ///< why there is none
};

/// Asks the desktop's screenshot portal for a picture of the whole screen, and waits for it for half a
/// minute at most; the desktop may ask the user first.
PortalAnswer screenshotFromPortal();

}  // namespace tools
