#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// A file that was found for the user, or why it is not theirs to hand on.
struct UserFile {
    std::string path;
    uint64_t size = 0;
    std::string fault;  ///< "" for a file that may be taken; else the reason, in English
};

struct UserFileRule {
    uint64_t largest = UINT64_MAX;   ///< bytes; a larger file may not be taken
    std::string programFolder = {};  ///< what lies directly in it may also be root's; none if empty
};

// Which files count as the user's own, so that nobody else decides what is read in their name: regular files
// that the user owns, behind folders that the user or root owns and others cannot change, without a link on
// the way. The home folder itself, and the first component of any other path (/tmp, /var), are the system's
// and taken as they are, as are links of root in root's folders. Where others may add entries (/tmp), a file
// must have no second name elsewhere. Nothing is opened for reading, nothing is waited for. Any thread.

/// What is at an absolute path: a file; of a folder below the home folder every file in it and below it, in
/// the order of the file system; nothing if there is nothing. What may not be taken is named with its fault,
/// a link or a folder elsewhere in one entry.
std::vector<UserFile> userFilesAt(const std::string& path, const UserFileRule& rule);

/// The names of all entries but "." and ".." of a folder that lies as above, or is such a first component, in
/// the order of the file system; none if it does not or cannot be listed.
std::vector<std::string> namesInUserFolder(const std::string& path);

/// A file of the user, opened for reading by the same rule; -1 if it may not be taken. The caller closes it.
int openUserFile(const std::string& path, const UserFileRule& rule);

/// The first bytes of a file of the user, at most so many; none if it may not be taken or cannot be read.
std::optional<std::string> readUserFile(const std::string& path, size_t most);

}  // namespace platform
