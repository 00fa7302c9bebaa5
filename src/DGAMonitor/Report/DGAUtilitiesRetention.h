#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace DGAUtilities {

/// Removes from the folder of reports what is neither an archive nor a trace folder and was made more than 10
/// minutes ago, archives of more than 30 days or of more than the policy allows, and the oldest where there
/// are more than 30 archives of a service or more than 5 trace folders. What a living assistant has marked as
/// its own stays (PrivateFolder::lock()), of whatever age.
void dga_removeExcessiveLogZip(std::chrono::system_clock::time_point now = std::chrono::system_clock::now());

/// Removes the oldest of these entries of the folder of reports, at least one: 5 stay of group 1, the
/// trace folders, and 25 of every other. One that is in use stays beside these.
// NOLINTNEXTLINE(bugprone-reserved-identifier): a given name
void dga__removeExcessiveFile(int groupCode, const std::vector<std::string>& fileNameArr);

}  // namespace DGAUtilities
