#pragma once

#include <optional>
#include <string>
#include <utility>

namespace platform {

/// A private library that is loaded when it is first needed, so that what it links costs nothing before.
/// Once loaded it stays until the process ends: its code may be running in other threads.
class LoadableModule {
public:
    /// Loads <BundleInfo::helperFolder()>/<name>.so with all its symbols bound and none of them shown to
    /// other libraries. `name` is a bare file name. None, with the reason reported at level 8, if it cannot
    /// be loaded. Loading a module again gives the same one. Any thread.
    static std::optional<LoadableModule> open(const std::string& name);

    /// What the module exports under a C name: a function as `Function*`. Null, reported at level 8, if there
    /// is none. Any thread.
    template <typename Function>
    Function* function(const char* symbol) const {
        return reinterpret_cast<Function*>(address(symbol));
    }

private:
    LoadableModule(std::string name, void* handle) : name_(std::move(name)), handle_(handle) {}
    void* address(const char* symbol) const;

    std::string name_;
    void* handle_;
};

}  // namespace platform
