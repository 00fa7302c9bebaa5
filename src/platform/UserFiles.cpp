#include "platform/UserFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

#include "platform/Handle.h"
#include "platform/HomePath.h"
#include "platform/OpenFolder.h"

namespace platform {
namespace {

constexpr int kFolder = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr int kDeepest = 64;
constexpr char kMissing[] = "there is no such file";
constexpr char kLink[] = "a link leads to it";
constexpr char kForeign[] = "it is not the user's";
constexpr char kOpenToOthers[] = "others may change its folder";

// An open folder, and what it means for the entries in it.
struct Place {
    Handle folder;
    bool inHome = false;
    bool program = false;  ///< the program's own folder
    bool shared = false;   ///< others may add entries
    std::string fault;
};

bool othersMayWrite(const struct stat& info) {
    return (info.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

std::optional<std::vector<std::string>> componentsOf(const std::string& path) {
    std::vector<std::string> components;
    if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos)
        return std::nullopt;
    for (size_t at = 0; at < path.size();) {
        const size_t end = std::min(path.find('/', at), path.size());
        std::string name = path.substr(at, end - at);
        if (name == "." || name == "..")
            return std::nullopt;
        if (!name.empty())
            components.push_back(std::move(name));
        at = end + 1;
    }
    return components;
}

std::string withoutSlashes(const std::string& path) {
    std::string plain;
    for (const auto& name : componentsOf(path).value_or(std::vector<std::string>()))
        plain.append("/").append(name);
    return plain;
}

// A folder that only the user or root can change, or in which, as in /tmp, nobody can touch others' entries.
std::string folderFault(const struct stat& info, bool inHome) {
    if (info.st_uid != geteuid() && (inHome || info.st_uid != 0))
        return kForeign;
    const mode_t others = inHome ? S_IWOTH : S_IWGRP | S_IWOTH;
    return (info.st_mode & others) != 0 && (info.st_mode & S_ISVTX) == 0 ? kOpenToOthers : "";
}

// A link that the system's administrator has put where nobody else could; root's own links are not told from
// it.
bool isSystemsLink(int parent, const std::string& name) {
    struct stat folder {};
    struct stat link {};
    return geteuid() != 0 && fstat(parent, &folder) == 0 && folder.st_uid == 0 && !othersMayWrite(folder) &&
           fstatat(parent, name.c_str(), &link, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(link.st_mode) &&
           link.st_uid == 0;
}

std::string faultOfErrno(int parent, const std::string& name) {
    const int why = errno;
    struct stat info {};
    if (fstatat(parent, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(info.st_mode))
        return kLink;
    return why == ENOENT || why == ENOTDIR ? kMissing : "its folder cannot be opened";
}

void stepInto(Place& place, const std::string& name) {
    const int parent = place.folder.get();
    int handle = openat(parent, name.c_str(), kFolder | O_NOFOLLOW);
    if (handle < 0 && !place.inHome && isSystemsLink(parent, name))
        handle = openat(parent, name.c_str(), kFolder);
    struct stat info {};
    if (handle < 0)
        place.fault = faultOfErrno(parent, name);
    else if (fstat(handle, &info) == 0)
        place.fault = folderFault(info, place.inHome);
    place.shared = othersMayWrite(info);
    place.folder = Handle(handle);
}

// The folder that the first `count` components of a path lead to.
Place walk(const std::vector<std::string>& components, size_t count) {
    Place place;
    const auto home = componentsOf(expandTilde("~")).value_or(std::vector<std::string>());
    place.inHome =
        !home.empty() && count >= home.size() && std::equal(home.begin(), home.end(), components.begin());
    const size_t taken = place.inHome ? home.size() : std::min<size_t>(count, 1);
    std::string start = "/";
    for (size_t i = 0; i < taken; ++i)
        start.append(components[i]).append("/");
    place.folder = Handle(open(start.c_str(), kFolder));
    struct stat info {};
    if (fstat(place.folder.get(), &info) != 0)
        place.fault = errno == EBADF ? kMissing : "its folder cannot be opened";
    else if (place.inHome)
        place.fault = folderFault(info, true);
    place.shared = othersMayWrite(info);
    for (size_t i = taken; i < count && place.fault.empty(); ++i)
        stepInto(place, components[i]);
    return place;
}

Place placeOf(const std::vector<std::string>& components, const UserFileRule& rule) {
    std::string parent;
    for (size_t i = 0; i + 1 < components.size(); ++i)
        parent.append("/").append(components[i]);
    if (rule.programFolder.empty() || parent != withoutSlashes(rule.programFolder))
        return walk(components, components.size() - 1);
    Place place;
    place.folder = Handle(open(rule.programFolder.c_str(), kFolder));
    place.program = true;
    return place;
}

std::string fileFault(const Place& place, const struct stat& info, const UserFileRule& rule) {
    if (S_ISLNK(info.st_mode))
        return "it is a link";
    if (!S_ISREG(info.st_mode))
        return S_ISDIR(info.st_mode) ? "it is a folder outside the home folder" : "it is no regular file";
    if (info.st_uid != geteuid() && !(place.program && info.st_uid == 0))
        return kForeign;
    if (place.shared && !place.inHome && info.st_nlink != 1)
        return "it has another name elsewhere";
    if (info.st_uid == geteuid() && geteuid() != 0 && (info.st_mode & S_IRUSR) == 0)
        return "it cannot be read";
    if (static_cast<uint64_t>(info.st_size) > rule.largest)
        return "it is larger than " + std::to_string(rule.largest / (uint64_t{1024} * 1024)) + " MiB";
    return "";
}

void collect(const Place& place, const std::string& name, const std::string& path, const UserFileRule& rule,
             int depth, std::vector<UserFile>& found) {
    struct stat info {};
    if (fstatat(place.folder.get(), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT)
            found.push_back({path, 0, "its folder cannot be opened"});
        return;
    }
    if (!S_ISDIR(info.st_mode) || !place.inHome || depth >= kDeepest) {
        found.push_back({path, static_cast<uint64_t>(info.st_size), fileFault(place, info, rule)});
        return;
    }
    Place inner;
    inner.inHome = true;
    inner.folder = Handle(openat(place.folder.get(), name.c_str(), kFolder | O_NOFOLLOW));
    const std::string fault = inner.folder.get() < 0 ? "it cannot be opened" : folderFault(info, true);
    if (!fault.empty()) {
        found.push_back({path, 0, fault});
        return;
    }
    for (const auto& entry : namesInOpenFolder(inner.folder.get()))
        collect(inner, entry, std::string(path).append("/").append(entry), rule, depth + 1, found);
}

}  // namespace

std::vector<UserFile> userFilesAt(const std::string& path, const UserFileRule& rule) {
    std::vector<UserFile> found;
    const auto components = componentsOf(path);
    if (!components || components->empty())
        return {{path, 0, "its path is not absolute and plain"}};
    const Place place = placeOf(*components, rule);
    if (place.fault.empty())
        collect(place, components->back(), path, rule, 0, found);
    else if (place.fault != kMissing)
        found.push_back({path, 0, place.fault});
    return found;
}

std::vector<std::string> namesInUserFolder(const std::string& path) {
    const auto components = componentsOf(path);
    if (!components)
        return {};
    const Place place = walk(*components, components->size());
    return place.fault.empty() ? namesInOpenFolder(place.folder.get()) : std::vector<std::string>();
}

int openUserFile(const std::string& path, const UserFileRule& rule) {
    const auto components = componentsOf(path);
    if (!components || components->empty())
        return -1;
    const Place place = placeOf(*components, rule);
    if (!place.fault.empty())
        return -1;
    const int file = openat(place.folder.get(), components->back().c_str(),
                            O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat info {};
    if (file >= 0 && fstat(file, &info) == 0 && fileFault(place, info, rule).empty())
        return file;
    if (file >= 0)
        close(file);
    return -1;
}

std::optional<std::string> readUserFile(const std::string& path, size_t most) {
    const Handle file(openUserFile(path, {}));
    if (!file)
        return std::nullopt;
    std::string text(most, '\0');
    size_t length = 0;
    for (ssize_t count = 1; count > 0 && length < most;
         length += static_cast<size_t>(std::max<ssize_t>(count, 0)))
        count = read(file.get(), text.data() + length, most - length);
    text.resize(length);
    return text;
}

}  // namespace platform
