#include "platform/FileMove.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "platform/Handle.h"
#include "platform/Report.h"
#include "platform/Text.h"

namespace platform {
namespace {

struct Target {
    std::string folder;
    std::string name;
};

std::optional<Target> splitPath(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (path.empty() || path.front() != '/' || slash + 1 == path.size())
        return std::nullopt;
    return Target{slash == 0 ? "/" : path.substr(0, slash), path.substr(slash + 1)};
}

bool isRegularFile(int handle, struct stat& info) {
    return fstat(handle, &info) == 0 && S_ISREG(info.st_mode);
}

bool writeAll(int file, const char* bytes, size_t length) {
    while (length > 0) {
        const ssize_t written = write(file, bytes, length);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes += written;
        length -= static_cast<size_t>(written);
    }
    return true;
}

bool copyBytes(int from, int to) {
    std::vector<char> buffer(262144);  // not on the stack of a thread that stays
    for (;;) {
        const ssize_t length = read(from, buffer.data(), buffer.size());
        if (length == 0)
            return true;
        if (length < 0 && errno == EINTR)
            continue;
        if (length < 0 || !writeAll(to, buffer.data(), static_cast<size_t>(length)))
            return false;
    }
}

// Some file systems do not know how.
bool flush(int handle) {
    return fsync(handle) == 0 || errno == EINVAL || errno == ENOTSUP;
}

bool copyFile(int source, const Target& target) {
    const Handle folder(open(target.folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        return false;
    // Not made from the target's name, which may be as long as a name can be.
    const std::string draft = std::string(".").append(randomUuid()).append(".part");
    Handle file(openat(folder.get(), draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                       S_IRUSR | S_IWUSR));
    if (!file)
        return false;
    const bool whole = copyBytes(source, file.get()) && flush(file.get()) && file.reset();
    if (!whole || renameat(folder.get(), draft.c_str(), folder.get(), target.name.c_str()) != 0) {
        const int why = errno;
        unlinkat(folder.get(), draft.c_str(), 0);
        errno = why;
        return false;
    }
    flush(folder.get());
    return true;
}

void removeSource(const std::string& path, const struct stat& copied) {
    struct stat now {};
    if (lstat(path.c_str(), &now) == 0 && now.st_dev == copied.st_dev && now.st_ino == copied.st_ino &&
        unlink(path.c_str()) == 0)
        return;
    reportNotice("moved, but not removed: " + path);
}

bool tryMove(const std::string& from, const std::string& to) {
    const auto target = splitPath(to);
    if (!target) {
        errno = EINVAL;
        return false;
    }
    const Handle source(open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat info {};
    if (!source)
        return false;
    if (!isRegularFile(source.get(), info)) {
        errno = EINVAL;
        return false;
    }
    if (rename(from.c_str(), to.c_str()) == 0)
        return true;
    if (errno != EXDEV || !copyFile(source.get(), *target))
        return false;
    removeSource(from, info);
    return true;
}

}  // namespace

bool moveFile(const std::string& from, const std::string& to, std::error_code* why) {
    if (tryMove(from, to))
        return true;
    const std::error_code fault(errno, std::generic_category());
    if (why)
        *why = fault;
    reportWarning("not moved from " + from + " to " + to + ": " + std::strerror(fault.value()));
    return false;
}

}  // namespace platform
