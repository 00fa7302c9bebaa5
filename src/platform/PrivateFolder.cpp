#include "platform/PrivateFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <set>
#include <utility>

#include "platform/OpenFolder.h"
#include "platform/Report.h"

namespace platform {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kOthersMayWrite = S_IWGRP | S_IWOTH;

bool isEntryName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

bool belongsToUserAlone(int handle) {
    struct stat info {};
    return fstat(handle, &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid() &&
           (info.st_mode & kOthersMayWrite) == 0;
}

bool belongsToTheSystem(int handle) {
    struct stat info {};
    return fstat(handle, &info) == 0 && info.st_uid == 0 && (info.st_mode & kOthersMayWrite) == 0;
}

enum class Rule { own, ownOrSystems };

int openPrivate(int parent, const std::string& name, PrivateFolder::Create create, Rule rule = Rule::own) {
    if (!isEntryName(name)) {
        errno = EINVAL;
        return -1;
    }
    int handle = openat(parent, name.c_str(), kFolderFlags);
    if (handle < 0 && errno == ENOENT && create == PrivateFolder::Create::yes) {
        if (mkdirat(parent, name.c_str(), S_IRWXU) != 0 && errno != EEXIST)
            return -1;
        handle = openat(parent, name.c_str(), kFolderFlags);
    }
    const bool systems = handle >= 0 && rule == Rule::ownOrSystems && belongsToTheSystem(handle);
    if (handle >= 0 && !systems && !belongsToUserAlone(handle)) {
        close(handle);
        errno = EPERM;
        return -1;
    }
    return handle;
}

// A folder that stays unusable would otherwise be reported with every record.
void reportOnce(const std::string& path, bool usable, const char* why) {
    static std::mutex mutex;
    static std::set<std::string>* const unusable = new std::set<std::string>;
    const std::lock_guard<std::mutex> hold(mutex);
    if (usable)
        unusable->erase(path);
    else if (unusable->insert(path).second)
        reportWarning("the folder " + path + " is not used: " + why);
}

bool writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

int openEmptyIn(int folder, const std::string& name) {
    if (!isEntryName(name))
        return -1;
    // Truncated only once it is known to be a plain file; a FIFO or a link is left as it is.
    const int file =
        openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (file < 0)
        return -1;
    struct stat info {};
    if (fstat(file, &info) == 0 && S_ISREG(info.st_mode) && info.st_uid == geteuid() && info.st_nlink == 1 &&
        ftruncate(file, 0) == 0)
        return file;
    close(file);
    return -1;
}

bool removeEntry(int parent, const std::string& name, dev_t device) {
    if (unlinkat(parent, name.c_str(), 0) == 0 || errno == ENOENT)
        return true;
    if (errno != EISDIR && errno != EPERM)
        return false;
    const int folder = openat(parent, name.c_str(), kFolderFlags);
    if (folder < 0)
        return false;
    struct stat info {};
    if (fstat(folder, &info) == 0 && info.st_dev == device) {
        for (const auto& entry : namesInOpenFolder(folder))
            removeEntry(folder, entry, device);
    }
    close(folder);
    return unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT;
}

}  // namespace

std::optional<PrivateFolder> PrivateFolder::open(const std::string& path, Create create) {
    if (path.empty() || path.front() != '/')
        return std::nullopt;
    size_t start = path.find('/', 1);
    int handle = ::open(path.substr(0, start).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    bool systemsSoFar = true;
    while (handle >= 0 && start != std::string::npos && start + 1 < path.size()) {
        const size_t end = path.find('/', start + 1);
        const std::string name = path.substr(start + 1, end == std::string::npos ? end : end - start - 1);
        const Rule rule = systemsSoFar && end != std::string::npos ? Rule::ownOrSystems : Rule::own;
        const int next = openPrivate(handle, name, create, rule);
        const int why = errno;
        systemsSoFar = systemsSoFar && next >= 0 && !belongsToUserAlone(next);
        close(handle);
        errno = why;
        handle = next;
        start = end;
    }
    if (handle < 0 && !(errno == ENOENT && create == Create::no)) {
        reportOnce(path, false, errno == EPERM ? "it is not the user's alone" : std::strerror(errno));
    } else if (handle >= 0) {
        reportOnce(path, true, "");
        return PrivateFolder(handle);
    }
    return std::nullopt;
}

std::optional<PrivateFolder> PrivateFolder::openLast(const std::string& path) {
    if (path.empty() || path.front() != '/')
        return std::nullopt;
    const int handle = ::open(path.c_str(), kFolderFlags);
    if (handle < 0)
        return std::nullopt;
    if (belongsToUserAlone(handle))
        return PrivateFolder(handle);
    close(handle);
    return std::nullopt;
}

PrivateFolder::PrivateFolder(PrivateFolder&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}

PrivateFolder& PrivateFolder::operator=(PrivateFolder&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
}

PrivateFolder::~PrivateFolder() {
    if (handle_ >= 0)
        close(handle_);
}

std::optional<PrivateFolder> PrivateFolder::subfolder(const std::string& name, Create create) const {
    const int handle = openPrivate(handle_, name, create);
    if (handle < 0)
        return std::nullopt;
    return PrivateFolder(handle);
}

bool PrivateFolder::createFolder(const std::string& name) const {
    return isEntryName(name) && mkdirat(handle_, name.c_str(), S_IRWXU) == 0;
}

bool PrivateFolder::contains(const std::string& name) const {
    struct stat info {};
    return isEntryName(name) && fstatat(handle_, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
}

std::optional<std::chrono::nanoseconds> PrivateFolder::creationTime(const std::string& name) const {
    struct statx info {};
    if (!isEntryName(name) || statx(handle_, name.c_str(), AT_SYMLINK_NOFOLLOW | AT_STATX_DONT_SYNC,
                                    STATX_BTIME | STATX_MTIME, &info) != 0)
        return std::nullopt;
    const auto& time = (info.stx_mask & STATX_BTIME) != 0 ? info.stx_btime : info.stx_mtime;
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

std::vector<std::string> PrivateFolder::entries() const {
    return namesInOpenFolder(handle_);
}

bool PrivateFolder::createFile(const std::string& name) const {
    if (!isEntryName(name))
        return false;
    const int file =
        openat(handle_, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0)
        return false;
    close(file);
    return true;
}

bool PrivateFolder::appendToFile(const std::string& name, std::string_view bytes, uint64_t largest) const {
    if (!isEntryName(name))
        return false;
    // O_NONBLOCK: a planted FIFO must not hang the writer.
    const int file = openat(handle_, name.c_str(),
                            O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (file < 0)
        return false;
    struct stat before {};
    bool done = fstat(file, &before) == 0 && S_ISREG(before.st_mode);
    int why = errno;
    if (done && static_cast<uint64_t>(before.st_size) + bytes.size() > largest) {
        done = false;
        why = EFBIG;
    } else if (done && !writeAll(file, bytes)) {
        done = false;
        why = errno;
        // Part of a record would spoil the next one.
        if (ftruncate(file, before.st_size) != 0)
            reportWarning("part of a record stays in " + name);
    }
    close(file);
    errno = why;
    return done;
}

bool PrivateFolder::replaceFile(const std::string& name, std::string_view bytes) const {
    if (!isEntryName(name))
        return false;
    static std::atomic<unsigned> counter{0};
    const std::string draft = "." + name + "." + std::to_string(getpid()) + "." + std::to_string(++counter);
    const int file =
        openat(handle_, draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0)
        return false;
    bool done = writeAll(file, bytes);
    done = close(file) == 0 && done;
    done = done && renameat(handle_, draft.c_str(), handle_, name.c_str()) == 0;
    if (!done)
        unlinkat(handle_, draft.c_str(), 0);
    return done;
}

int PrivateFolder::openEmptyFile(const std::string& name) const {
    return openEmptyIn(handle_, name);
}

bool PrivateFolder::createLink(const std::string& name, const std::string& target) const {
    return isEntryName(name) && symlinkat(target.c_str(), handle_, name.c_str()) == 0;
}

bool PrivateFolder::moveEntry(const std::string& name, const PrivateFolder& target,
                              const std::string& newName) const {
    if (!isEntryName(name) || !isEntryName(newName))
        return false;
    if (renameat2(handle_, name.c_str(), target.handle_, newName.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    // Not every file system knows the flag.
    return (errno == EINVAL || errno == ENOSYS) && !target.contains(newName) &&
           renameat(handle_, name.c_str(), target.handle_, newName.c_str()) == 0;
}

bool PrivateFolder::lock() const {
    return flock(handle_, LOCK_EX | LOCK_NB) == 0;
}

bool PrivateFolder::lockFileForGood(const std::string& name) const {
    const int file = isEntryName(name)
                         ? openat(handle_, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)
                         : -1;
    if (file >= 0 && flock(file, LOCK_SH | LOCK_NB) == 0)
        return true;  // it stays open, on purpose
    if (file >= 0)
        close(file);
    return false;
}

bool PrivateFolder::isLocked(const std::string& name) const {
    if (!isEntryName(name))
        return false;
    const int entry = openat(handle_, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    const bool locked = entry >= 0 && flock(entry, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (entry >= 0)
        close(entry);
    return locked;
}

bool PrivateFolder::remove(const std::string& name) const {
    struct stat info {};
    return isEntryName(name) && fstat(handle_, &info) == 0 && removeEntry(handle_, name, info.st_dev);
}

bool removeAtPath(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (path.empty() || path.front() != '/' || !isEntryName(path.substr(slash + 1)))
        return false;
    const int parent = ::open(slash == 0 ? "/" : path.substr(0, slash).c_str(), kFolderFlags);
    if (parent < 0)
        return errno == ENOENT;
    struct stat info {};
    const bool done = fstat(parent, &info) == 0 && removeEntry(parent, path.substr(slash + 1), info.st_dev);
    close(parent);
    return done;
}

int openEmptyFileAtPath(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (path.empty() || path.front() != '/')
        return -1;
    const std::string parent = slash == 0 ? "/" : path.substr(0, slash);
    if (parent.starts_with("/tmp/")) {
        const auto folder = PrivateFolder::open(parent, PrivateFolder::Create::no);
        return folder ? folder->openEmptyFile(path.substr(slash + 1)) : -1;
    }
    const int folder = ::open(parent.c_str(), kFolderFlags);
    if (folder < 0)
        return -1;
    const int file = openEmptyIn(folder, path.substr(slash + 1));
    close(folder);
    return file;
}

}  // namespace platform
