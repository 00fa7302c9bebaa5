#pragma once

#include <optional>
#include <string>

#include "platform/PrivateFolder.h"

namespace platform {

/// The user's folder for sockets, opened.
struct RuntimeFolder {
    std::string path;
    PrivateFolder folder;
};

/// $XDG_RUNTIME_DIR if it is set to an absolute path, else /run/user/<uid> if that exists, else
/// /tmp/com.tellan.orvane.<uid>, which is made. None, with a report, if the chosen one is not the
/// user's alone.
std::optional<RuntimeFolder> openRuntimeFolder();

}  // namespace platform
