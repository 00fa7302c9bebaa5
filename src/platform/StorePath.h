#pragma once

#include <string>

namespace platform {

/// Where a folder of the shared /tmp lies for this user: there ("/tmp/<name>"), or where that cannot be used
/// privately (PrivateFolder::open(); it is somebody else's, say) in "orvanedga/<name>" of the user's cache
/// folder: $XDG_CACHE_HOME if that is an absolute path, else ~/.cache. The folder is made. Decided with the
/// first call for a name, and the same as long as the process lives. Any thread.
std::string storePath(const std::string& name);

}  // namespace platform
