#include "platform/OpenFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <string_view>

namespace platform {

std::vector<std::string> namesInOpenFolder(int folder) {
    std::vector<std::string> names;
    // A handle of its own, which the listing closes and whose place in the folder is the beginning.
    const int own = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    DIR* const listing = own < 0 ? nullptr : fdopendir(own);
    if (!listing) {
        if (own >= 0)
            close(own);
        return names;
    }
    while (const dirent* entry = readdir(listing)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name);
    }
    closedir(listing);
    return names;
}

}  // namespace platform
