#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace platform {

/// A key file (GLib's GKeyFile: "[group]", "key=value", "#" begins a comment) that the machine's
/// administrator keeps for all its users.
struct AdministratorFile {
    static constexpr size_t kLongest = size_t{64} * 1024;

    enum class State {
        missing,     ///< there is none
        ignored,     ///< the file or its folder is not root's, or others may write to it
        unreadable,  ///< it is there, but nothing can be made of it; `fault` says why
        read
    };
    enum class Trust {
        rootOnly,  ///< as it counts
        anybody    ///< a draft, whoever wrote it
    };
    struct Entry {
        std::string group;
        std::string key;
        std::string value;  ///< as it stands there, without blanks around it
        bool repeated = false;
    };

    State state = State::missing;
    std::string fault;           ///< in English; of what is ignored or unreadable
    std::vector<Entry> entries;  ///< in their order; of a repeated key the last

    /// Reads it without following a link and without waiting for anybody. A file that is longer than
    /// kLongest, no regular file, no key file, or changes while it is read is unreadable. In a user
    /// namespace, where root has no number of its own, the kernel's number for strangers counts as root's.
    /// Any thread.
    static AdministratorFile read(const std::string& path, Trust trust = Trust::rootOnly);
};

}  // namespace platform
