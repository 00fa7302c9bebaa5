#include "platform/HomePath.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace platform {
namespace {

std::string homeOf(const std::string& user) {
    if (user.empty()) {
        const char* home = std::getenv("HOME");
        if (home && *home)
            return home;
    }
    std::array<char, 16384> buffer;
    passwd entry{};
    passwd* found = nullptr;
    if (user.empty())
        getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found);
    else
        getpwnam_r(user.c_str(), &entry, buffer.data(), buffer.size(), &found);
    return found && found->pw_dir ? found->pw_dir : "";
}

}  // namespace

std::string expandTilde(const std::string& path) {
    if (path.empty() || path.front() != '~')
        return path;
    const size_t slash = path.find('/');
    const std::string home = homeOf(path.substr(1, slash == std::string::npos ? slash : slash - 1));
    if (home.empty())
        return path;
    return slash == std::string::npos ? home : home + path.substr(slash);
}

}  // namespace platform
