#include "platform/StorePath.h"

#include <cstdlib>
#include <map>
#include <mutex>

#include "platform/HomePath.h"
#include "platform/PrivateFolder.h"
#include "platform/Report.h"

namespace platform {
namespace {

std::string cacheFolder() {
    const char* const set = std::getenv("XDG_CACHE_HOME");
    return set && *set == '/' ? set : expandTilde("~/.cache");
}

std::string choose(const std::string& name) {
    std::string shared = "/tmp/" + name;
    if (PrivateFolder::open(shared, PrivateFolder::Create::yes))
        return shared;
    std::string own = cacheFolder() + "/orvanedga/" + name;
    if (!PrivateFolder::open(own, PrivateFolder::Create::yes))
        return shared;
    reportWarning("in place of " + shared + " the folder " + own + " is used");
    return own;
}

}  // namespace

std::string storePath(const std::string& name) {
    static std::mutex mutex;
    static auto* const chosen = new std::map<std::string, std::string>;
    const std::lock_guard<std::mutex> hold(mutex);
    const auto known = chosen->find(name);
    return known != chosen->end() ? known->second : chosen->emplace(name, choose(name)).first->second;
}

}  // namespace platform
