#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace DGAUtilities {

/// Posts a distributed notification and returns its name. Main thread.
std::string dga_postDistributedNotificationWithName(const std::string& name,
                                                    const std::optional<std::string>& object,
                                                    const std::map<std::string, std::string>& userInfo,
                                                    bool immediately,
                                                    const std::map<std::string, int32_t>& numbers = {});

std::string dga_fetchBuildVersion();
std::string dga_fetchAppVersion();

/// The version of the operating system as "/usr/bin/sw_vers -productVersion" prints it, with the line
/// break at its end; "" if that cannot be run. Waits for that tool.
std::string dga_fetchOSVersion();

}  // namespace DGAUtilities
