#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tools {

/// Where the profile reads from. Tests put recorded trees in the place of the system's.
struct Sources {
    std::string proc = "/proc";
    std::string sys = "/sys";
    std::string etc = "/etc";
    std::string var = "/var";
    std::string usr = "/usr";
    std::string snap = "/snap";
    std::string root;  ///< put before the folders whose room is told
    std::string home;  ///< the user's folder; nothing of it is read if empty
    std::function<std::string(const char*)> environment;  ///< "" for an unset variable

    /// A setting of the desktop as text; "" for one that there is not.
    std::function<std::string(const char* schema, const char* key)> setting = [](auto...) { return ""; };
    /// What a command prints; "" if it fails, or takes more than two seconds.
    std::function<std::string(const std::string& command)> command = [](const auto&) { return ""; };

    /// Those of this system and session.
    static Sources ofThisSystem();
};

/// The first `limit` bytes of a file; "" if it cannot be read.
std::string fileText(const std::string& path, size_t limit = size_t{1} << 20);

/// A file's first line without blanks around it.
std::string firstLine(const std::string& path);

/// A text without blanks around it.
std::string trimmed(const std::string& text);

std::vector<std::string> linesOf(const std::string& text);

/// The names in a folder, sorted; none if it cannot be read.
std::vector<std::string> namesIn(const std::string& folder);

}  // namespace tools
