#pragma once

#include <string>

namespace platform {

/// A path whose "~" or "~/..." stands for the user's home folder ($HOME, else the user database's) and
/// whose "~name/..." for another user's. One of an unknown user, and any other path, stays as it is.
std::string expandTilde(const std::string& path);

}  // namespace platform
