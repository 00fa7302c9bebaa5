#include "platform/FolderListing.h"

#include <dirent.h>

#include <utility>

namespace platform {

std::vector<std::string> namesInFolder(const std::string& path) {
    std::vector<std::string> names;
    DIR* const listing = opendir(path.c_str());
    if (!listing)
        return names;
    while (const dirent* entry = readdir(listing)) {
        std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(std::move(name));
    }
    closedir(listing);
    return names;
}

}  // namespace platform
