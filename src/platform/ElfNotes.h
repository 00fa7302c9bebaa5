#pragma once

#include <optional>
#include <string>

namespace platform {

/// What a program or library says about itself in its notes (ELF, PT_NOTE).
struct ElfNotes {
    std::string buildId;  ///< in hexadecimal; "" if it has none (NT_GNU_BUILD_ID)
    std::string version;  ///< of its package: the "version" of the package note; "" if it has none

    /// Of a regular file of this machine's kind of ELF; none of anything else. Never waits for a pipe's
    /// writer. Any thread.
    static std::optional<ElfNotes> ofFile(const std::string& path);
};

}  // namespace platform
