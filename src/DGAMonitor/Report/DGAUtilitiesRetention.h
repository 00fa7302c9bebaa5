#pragma once

#include <string>
#include <vector>

namespace DGAUtilities {

/// Removes from the folder of reports what is neither an archive nor a trace folder, and the oldest where
/// there are more than 30 archives of a service or more than 5 trace folders.
void dga_removeExcessiveLogZip();

/// Removes the oldest of these entries of the folder of reports, at least one: 5 stay of group 1, the
/// trace folders, and 25 of every other.
// NOLINTNEXTLINE(bugprone-reserved-identifier): a given name
void dga__removeExcessiveFile(int groupCode, const std::vector<std::string>& fileNameArr);

}  // namespace DGAUtilities
