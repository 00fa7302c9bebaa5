#include "RunFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string_view>

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

RunFiles::RunFiles(std::string root) : root_(std::move(root)) {}

RunFiles::~RunFiles() {
    for (const int fd : {trace_, topic_}) {
        if (fd >= 0) {
            close(fd);
        }
    }
}

void RunFiles::look(pid_t assistant) {
    const Folder root = openFolder(AT_FDCWD, root_.c_str());
    if (!root) {
        return;
    }
    const std::string ending = fmt::format("_{}", assistant);
    while (const dirent* run = readdir(root.get())) {
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

std::string newestLog(const std::string& folder, std::chrono::system_clock::time_point start) {
    const Folder logs = openFolder(AT_FDCWD, folder.c_str());
    std::string newest;
    // File times come from a clock that ticks coarsely and may be a little behind.
    const auto earliest = std::chrono::duration<double>(start.time_since_epoch()).count() - 0.1;
    double newestTime = earliest;
    while (const dirent* entry = logs ? readdir(logs.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        struct stat status {};
        if (!name.starts_with("orvtra_dga_") || !name.ends_with(".ovt") ||
            fstatat(dirfd(logs.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        const double time =
            static_cast<double>(status.st_mtim.tv_sec) + static_cast<double>(status.st_mtim.tv_nsec) * 1e-9;
        if (time >= newestTime) {
            newestTime = time;
            newest = folder + "/" + std::string(name);
        }
    }
    return newest;
}

}  // namespace clientsim
