#include "platform/CoredumpModules.h"

#include <link.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>

#include "platform/ElfNotes.h"
#include "platform/Text.h"

namespace platform {
namespace {

constexpr size_t kMostModules = 200;
constexpr std::array kArchitectures = {"amd64", "x86_64",  "arm64",   "aarch64", "i386",
                                       "i686",  "armhf",   "armv7hl", "ppc64el", "ppc64le",
                                       "s390x", "riscv64", "noarch",  "all"};

std::string folderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// "#0  0x00007f1d5b2a9e3c raise (libc.so.6 + 0x8ae3c)" -> "libc.so.6"
std::string_view moduleOfFrame(std::string_view line) {
    const size_t plus = line.rfind(" + 0x");
    const size_t open = plus == std::string_view::npos ? plus : line.rfind('(', plus);
    const bool isFrame = line.starts_with('#') && open != std::string_view::npos && line.ends_with(')');
    return isFrame ? line.substr(open + 1, plus - open - 1) : std::string_view();
}

// "glibc-2.36-9.amd64" -> "2.36-9"
std::string versionIn(std::string_view package) {
    for (const std::string_view architecture : kArchitectures) {
        if (package.size() > architecture.size() && package.ends_with(architecture) &&
            package[package.size() - architecture.size() - 1] == '.')
            package.remove_suffix(architecture.size() + 1);
    }
    const auto isNumber = [&](size_t dash) {
        return dash != std::string_view::npos && dash + 1 < package.size() && package[dash + 1] >= '0' &&
               package[dash + 1] <= '9';
    };
    const size_t last = package.rfind('-');
    // Most have a release behind the version.
    const size_t before = last == 0 || last == std::string_view::npos ? last : package.rfind('-', last - 1);
    if (isNumber(before))
        return std::string(package.substr(before + 1));
    return isNumber(last) ? std::string(package.substr(last + 1)) : std::string();
}

std::string_view wordAfter(std::string_view text, std::string_view mark) {
    const size_t at = text.find(mark);
    if (at == std::string_view::npos)
        return {};
    const std::string_view rest = text.substr(at + mark.size());
    return rest.substr(0, rest.find_first_of(" ,"));
}

// "Module NAME from deb PACKAGE-VERSION.ARCHITECTURE[, build-id=ID]" or, of older services, "with build-id
// ID".
CoredumpModule moduleIn(std::string_view line) {
    CoredumpModule module;
    line.remove_prefix(std::string_view("Module ").size());
    for (const char* const mark : {", build-id=", " with build-id "}) {
        if (module.buildId.empty())
            module.buildId = wordAfter(line, mark);
    }
    if (module.buildId.find_first_not_of("0123456789abcdef") != std::string::npos)
        module.buildId.clear();
    const std::string_view type = wordAfter(line, " from ");
    if (!type.empty())
        module.version = versionIn(wordAfter(line, " from " + std::string(type) + " "));
    module.name = line.substr(0, line.find_first_of(" ,"));
    return module;
}

bool isModuleOf(const CoredumpModule& said, const CoredumpModule& module) {
    return said.name == module.name || nameOf(said.name) == nameOf(module.name);
}

int addFolder(dl_phdr_info* info, size_t /*size*/, void* folders) {
    static_cast<std::vector<std::string>*>(folders)->push_back(folderOf(info->dlpi_name));
    return 0;
}

std::vector<std::string> foldersFor(const std::string& executable) {
    const std::string own = folderOf(executable);
    std::vector<std::string> folders{own, own + "/../lib", own + "/lib"};
    dl_iterate_phdr(&addFolder, &folders);
    folders.insert(folders.end(), {"/lib64", "/usr/lib64", "/usr/lib"});
    std::erase(folders, "");
    return folders;
}

bool isFrom(const std::string& path, std::time_t since) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && info.st_ctim.tv_sec <= since;
}

}  // namespace

std::vector<CoredumpModule> coredumpModules(std::string_view listing) {
    std::vector<CoredumpModule> modules;
    std::vector<CoredumpModule> said;
    while (!listing.empty()) {
        const size_t end = std::min(listing.find('\n'), listing.size());
        const std::string_view line = trimmed(listing.substr(0, end));
        listing.remove_prefix(std::min(end + 1, listing.size()));
        const std::string name(moduleOfFrame(line));
        const bool isNew = !name.empty() && modules.size() < kMostModules &&
                           std::none_of(modules.begin(), modules.end(),
                                        [&](const CoredumpModule& module) { return module.name == name; });
        if (isNew)
            modules.push_back({name, {}, {}});
        else if (line.starts_with("Module "))
            said.push_back(moduleIn(line));
    }
    for (auto& module : modules) {
        const auto about = std::find_if(said.begin(), said.end(),
                                        [&](const CoredumpModule& one) { return isModuleOf(one, module); });
        if (about != said.end())
            module = {module.name, about->buildId, about->version};
    }
    return modules;
}

void completeModules(std::vector<CoredumpModule>& modules, const std::string& executable, std::time_t since) {
    const auto folders = foldersFor(executable);
    for (auto& module : modules) {
        std::vector<std::string> paths;
        if (nameOf(executable) == nameOf(module.name))
            paths.push_back(executable);
        else if (module.name.starts_with('/'))
            paths.push_back(module.name);
        else if (module.name.find('/') == std::string::npos)
            for (const auto& folder : folders)
                paths.push_back(folder + "/" + module.name);
        for (const auto& path : paths) {
            const auto notes = isFrom(path, since) ? ElfNotes::ofFile(path) : std::nullopt;
            // Another one of that name.
            if (!notes || (!module.buildId.empty() && module.buildId != notes->buildId))
                continue;
            module.buildId = notes->buildId;
            if (module.version.empty())
                module.version = notes->version;
            break;
        }
    }
}

}  // namespace platform
