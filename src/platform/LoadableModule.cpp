#include "platform/LoadableModule.h"

#include <dlfcn.h>

#include "platform/BundleInfo.h"
#include "platform/Report.h"

namespace platform {
namespace {

std::string reason() {
    const char* const text = dlerror();
    return text ? text : "no reason given";
}

}  // namespace

std::optional<LoadableModule> LoadableModule::open(const std::string& name) {
    const std::string folder = BundleInfo::helperFolder();
    // Anything but a file of that folder would be looked for elsewhere.
    if (folder.empty() || folder.front() != '/' || name.empty() || name.find('/') != std::string::npos ||
        name.find('\0') != std::string::npos) {
        reportWarning("cannot load the module \"" + name + "\": it has no place in the private folder");
        return std::nullopt;
    }
    void* const handle = dlopen((folder + "/" + name + ".so").c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (!handle) {
        reportWarning("cannot load the module " + name + ": " + reason());
        return std::nullopt;
    }
    return LoadableModule(name, handle);
}

void* LoadableModule::address(const char* symbol) const {
    void* const found = dlsym(handle_, symbol);
    if (!found)
        reportWarning("the module " + name_ + " has no " + symbol + ": " + reason());
    return found;
}

}  // namespace platform
