#pragma once

#include <string>
#include <vector>

namespace platform {

/// What of our environment a program gets; each holds the one before.
enum class TaskSurroundings {
    none,
    system,   ///< search path, user, home and its folders, language, time zone
    display,  ///< the display, what desktop it is
    desktop,  ///< the session's bus, and what toolkits read: for programs of the user's own
    all       ///< for a program that is a part of us
};

/// The variables of our environment that belong to it, as "NAME=value".
std::vector<std::string> taskEnvironment(TaskSurroundings surroundings);

}  // namespace platform
