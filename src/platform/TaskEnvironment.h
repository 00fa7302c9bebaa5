#pragma once

#include <string>
#include <vector>

#include "platform/Task.h"

namespace platform {

/// The variables of our environment that a task gets, as "NAME=value".
std::vector<std::string> taskEnvironment(Task::Surroundings surroundings);

}  // namespace platform
