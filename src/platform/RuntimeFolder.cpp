#include "platform/RuntimeFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "platform/Report.h"

namespace platform {

std::optional<RuntimeFolder> openRuntimeFolder() {
    const std::string uid = std::to_string(geteuid());
    const char* given = std::getenv("XDG_RUNTIME_DIR");
    std::string path = given && *given == '/' ? given : "/run/user/" + uid;
    struct stat info {};
    std::optional<PrivateFolder> folder;
    if ((given && *given == '/') || stat(path.c_str(), &info) == 0) {
        folder = PrivateFolder::openLast(path);
        if (!folder)
            reportWarning("the runtime folder " + path + " is missing or not the user's alone");
    } else {
        path = "/tmp/com.tellan.orvane." + uid;
        folder = PrivateFolder::open(path, PrivateFolder::Create::yes);
    }
    if (!folder)
        return std::nullopt;
    return RuntimeFolder{path, std::move(*folder)};
}

}  // namespace platform
