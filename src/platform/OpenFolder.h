#pragma once

#include <string>
#include <vector>

namespace platform {

/// The names of all entries but "." and ".." of an open folder, in the order of the file system; none if it
/// cannot be listed. Which folders may be opened is the opener's rule: see PrivateFolder and UserFiles.
std::vector<std::string> namesInOpenFolder(int folder);

}  // namespace platform
