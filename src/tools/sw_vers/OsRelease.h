#pragma once

#include <map>
#include <string>

namespace tools {

/// The values of an os-release file, without their quotes; empty if it cannot be read.
std::map<std::string, std::string> readOsRelease(const std::string& path = "/etc/os-release");

/// What `sw_vers <option>` prints, without the line break. "0" or "Linux" where the system does not say.
struct SystemVersion {
    std::string productName;
    std::string productVersion;
    std::string buildVersion;  ///< the distribution's build, else the kernel's release
};

SystemVersion systemVersion(const std::string& osRelease = "/etc/os-release");

}  // namespace tools
