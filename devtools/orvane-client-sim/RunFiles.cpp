#include "RunFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

namespace clientsim {

namespace {

using Folder = std::unique_ptr<DIR, int (*)(DIR*)>;

Folder openFolder(int parent, const char* name) {
    const int fd = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    DIR* const folder = fd < 0 ? nullptr : fdopendir(fd);
    if (folder == nullptr && fd >= 0) {
        close(fd);
    }
    return {folder, closedir};
}

/// None that somebody else owns or may write to.
Folder openOwnFolder(const std::string& path) {
    Folder folder = openFolder(AT_FDCWD, path.c_str());
    struct stat found {};
    const bool own = folder && fstat(dirfd(folder.get()), &found) == 0 && found.st_uid == geteuid() &&
                     (found.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    return own ? std::move(folder) : Folder(nullptr, closedir);
}

/// Opens a regular file in place of `held`, unless that is the same one.
void openInstead(const Folder& folder, const char* name, int& held) {
    const int fd = openat(dirfd(folder.get()), name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat found {};
    struct stat old {};
    const bool usable = fd >= 0 && fstat(fd, &found) == 0 && S_ISREG(found.st_mode);
    const bool same = usable && held >= 0 && fstat(held, &old) == 0 && old.st_dev == found.st_dev &&
                      old.st_ino == found.st_ino;
    if (usable && !same) {
        if (held >= 0) {
            close(held);
        }
        held = fd;
    } else if (fd >= 0) {
        close(fd);
    }
}

std::string readAll(int fd) {
    std::string text;
    char buffer[65536];
    for (ssize_t count = 0;
         fd >= 0 && (count = pread(fd, buffer, sizeof buffer, static_cast<off_t>(text.size()))) > 0;) {
        text.append(buffer, static_cast<size_t>(count));
    }
    return text;
}

}  // namespace

std::vector<std::string> storeFolders(const std::string& name) {
    const char* const cache = std::getenv("XDG_CACHE_HOME");
    const char* const home = std::getenv("HOME");
    const std::string own =
        cache != nullptr && *cache == '/' ? cache : std::string(home != nullptr ? home : "") + "/.cache";
    return {"/tmp/" + name, own + "/orvanedga/" + name};
}

RunFiles::RunFiles(std::vector<std::string> roots) : roots_(std::move(roots)) {}

RunFiles::~RunFiles() {
    for (const int fd : {trace_, topic_}) {
        if (fd >= 0) {
            close(fd);
        }
    }
}

void RunFiles::look(pid_t assistant) {
    for (const auto& root : roots_) {
        lookInto(root, assistant);
    }
}

void RunFiles::lookInto(const std::string& path, pid_t assistant) {
    const Folder root = openOwnFolder(path);
    const std::string ending = fmt::format("_{}", assistant);
    while (const dirent* run = root ? readdir(root.get()) : nullptr) {
        const std::string_view runName = run->d_name;
        if (!runName.starts_with("orvanedga_") || !runName.ends_with(ending)) {
            continue;
        }
        const Folder folder = openFolder(dirfd(root.get()), run->d_name);
        while (const dirent* file = folder ? readdir(folder.get()) : nullptr) {
            const std::string_view name = file->d_name;
            if (name.starts_with("orvdga_trace_meeting_") && name.ends_with(".csv")) {
                openInstead(folder, file->d_name, trace_);
            } else if (name == "orvdga_topic.txt") {
                openInstead(folder, file->d_name, topic_);
            }
        }
    }
}

std::string RunFiles::trace() const {
    return readAll(trace_);
}

std::string RunFiles::topic() const {
    return readAll(topic_);
}

std::string newestLog(const std::vector<std::string>& folders, std::chrono::system_clock::time_point start) {
    std::string newest;
    // File times come from a clock that ticks coarsely and may be a little behind.
    const auto earliest = std::chrono::duration<double>(start.time_since_epoch()).count() - 0.1;
    double newestTime = earliest;
    for (const auto& folder : folders) {
        const Folder logs = openOwnFolder(folder);
        while (const dirent* entry = logs ? readdir(logs.get()) : nullptr) {
            const std::string_view name = entry->d_name;
            struct stat status {};
            if (!name.starts_with("orvtra_dga_") || !name.ends_with(".ovt") ||
                fstatat(dirfd(logs.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
                continue;
            }
            const double time = static_cast<double>(status.st_mtim.tv_sec) +
                                static_cast<double>(status.st_mtim.tv_nsec) * 1e-9;
            if (time >= newestTime) {
                newestTime = time;
                newest = folder + "/" + std::string(name);
            }
        }
    }
    return newest;
}

}  // namespace clientsim
