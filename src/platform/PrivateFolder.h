#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// A folder that belongs to the user alone, held by an open handle, so that nobody who can write to a
/// folder above it (/tmp) can put another one, or a link, in its place. All names given to it are bare
/// entry names: no "/", not ".", not "..", not empty; others fail. Every failure is a return value.
/// An instance is used by one thread at a time; instances of the same folder are independent.
class PrivateFolder {
public:
    enum class Create { no, yes };

    /// Opens an absolute path. The first component (/tmp) is the system's and is taken as it is, and so are
    /// further ones that only root can change, but for the last; each of the others must be a real folder,
    /// owned by the user and writable by nobody else, and no link is followed. With Create::yes missing ones
    /// are made with mode 0700. A folder that exists but is not as required is reported at level 8, once
    /// until the path opens again.
    static std::optional<PrivateFolder> open(const std::string& path, Create create);

    /// Opens a path of which only the last component must be private (a user's runtime folder).
    static std::optional<PrivateFolder> openLast(const std::string& path);

    PrivateFolder(PrivateFolder&& other) noexcept;
    PrivateFolder& operator=(PrivateFolder&& other) noexcept;
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;
    ~PrivateFolder();

    /// The open handle, good for the *at functions. Owned by this object.
    int handle() const { return handle_; }

    /// A folder inside, with the same demands. Failures are not reported.
    std::optional<PrivateFolder> subfolder(const std::string& name, Create create) const;

    /// Makes an empty folder of mode 0700. False if an entry of that name exists.
    bool createFolder(const std::string& name) const;

    bool contains(const std::string& name) const;

    /// When an entry was made or, where the file system does not keep that, last changed; a link's own time.
    /// None if there is no such entry.
    std::optional<std::chrono::nanoseconds> creationTime(const std::string& name) const;

    /// The names of all entries but "." and "..", in the order of the file system.
    std::vector<std::string> entries() const;

    /// Makes an empty file of mode 0600. False if an entry of that name exists.
    bool createFile(const std::string& name) const;

    /// Appends to a regular file, which is made if it is missing: all of `bytes` or, where the disk is
    /// full, none of them. Nothing, with errno EFBIG, where the file would grow beyond `largest` bytes.
    bool appendToFile(const std::string& name, std::string_view bytes, uint64_t largest = UINT64_MAX) const;

    /// Puts a file of mode 0600 with these bytes in the place of whatever file has that name, whole or
    /// not at all.
    bool replaceFile(const std::string& name, std::string_view bytes) const;

    /// Opens an empty regular file for writing: a new one of mode 0600, or the user's own that is there,
    /// truncated. A handle that the caller closes; -1 if that is not possible.
    int openEmptyFile(const std::string& name) const;

    /// Puts a link there that leads to an absolute path.
    bool createLink(const std::string& name, const std::string& target) const;

    /// Moves an entry to another folder of the same file system, under a name that nothing has there.
    bool moveEntry(const std::string& name, const PrivateFolder& target, const std::string& newName) const;

    /// Marks this folder as in use for as long as this object or the process lives. False if another marks
    /// it.
    bool lock() const;

    /// Marks a file as in use until the process ends; its name may change meanwhile.
    bool lockFileForGood(const std::string& name) const;

    /// Whether an entry is marked as in use, by any process.
    bool isLocked(const std::string& name) const;

    /// Removes an entry, a folder with all it contains. Links are removed, never followed; other
    /// file systems mounted inside are left alone. True when nothing of that name is left.
    bool remove(const std::string& name) const;

private:
    explicit PrivateFolder(int handle) : handle_(handle) {}
    int handle_ = -1;
};

/// Removes what is at an absolute path, a folder with all it contains, under the rules of
/// PrivateFolder::remove(). The folder that holds it must be a real one, not a link. True when nothing is
/// left there.
bool removeAtPath(const std::string& path);

/// PrivateFolder::openEmptyFile() at an absolute path: below the shared /tmp in a folder that
/// PrivateFolder::open() takes, elsewhere in any folder, of which only the last component must not be a link.
int openEmptyFileAtPath(const std::string& path);

}  // namespace platform
