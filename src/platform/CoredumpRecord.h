#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CoredumpModules.h"

namespace platform {

/// What the system's core dump service says about one crash.
struct CoredumpRecord {
    std::string processId;
    std::string signal;                   ///< "11 (SEGV)"
    std::string time;                     ///< "yyyy-MM-dd HH:mm:ss", local
    std::string executable;               ///< full path
    std::string stack;                    ///< of all threads, as lines; empty if it is not known
    std::vector<CoredumpModule> modules;  ///< of these stacks

    /// The record of a process in the listing of `coredumpctl info`, the newest if there are several; none if
    /// there is none with a process id, a signal and a time. The command line, which may carry personal
    /// data, is not read.
    static std::optional<CoredumpRecord> parse(std::string_view listing);

    /// The crash report, and its file's name.
    std::string text() const;
    std::string fileName(std::string_view prefix, std::string_view host) const;
};

/// Where the service's answers come from; tests put others in their place.
struct CoredumpService {
    std::string program = "/usr/bin/coredumpctl";
    std::string procRoot = "/proc";  ///< tells whether the service is at work
};

/// Asks the service for the newest crash of a process, which happened while this process was running, and
/// writes "<prefix><yyyy-MM-dd-HHmmss>_<host>.crash" into `folder`, which is made if it is missing. Does
/// nothing while the process is there or is no decimal number, and writes only once for a process. Where
/// there is no such service a line of the log says so. As long as the service writes a dump, and for a second
/// in any case, it is asked again: blocks for up to 10 seconds, and 5 more if it does not answer. Only
/// systemd's service is asked; what apport or others keep in /var/crash is not read. Returns the modules of
/// the crash, completed from their files, also when it was written earlier; none if it is not known.
std::vector<CoredumpModule> writeCoredumpRecord(const std::string& processId, const std::string& folder,
                                                std::string_view prefix, const CoredumpService& service = {});

}  // namespace platform
