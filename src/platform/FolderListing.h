#pragma once

#include <string>
#include <vector>

namespace platform {

/// The names of all entries but "." and "..", in the order of the file system; none if the folder cannot
/// be listed. For folders of the user and of the system; those shared with others need PrivateFolder.
std::vector<std::string> namesInFolder(const std::string& path);

}  // namespace platform
