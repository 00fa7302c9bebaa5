#pragma once

#include <string>
#include <vector>

/// What the names in the folder of reports say that their entries are. Each is in one list, in the order
/// in which it was given.
struct DGARetentionGroups {
    // Codes of the groups that are trimmed.
    static constexpr int kArchives = 0;
    static constexpr int kTraceFolders = 1;
    static constexpr int kToolsArchives = 2;

    std::vector<std::string> archives;       ///< of the meeting service
    std::vector<std::string> traceFolders;   ///< of the meeting service's runs
    std::vector<std::string> toolsArchives;  ///< of the desktop tools, and the folders of their runs
    std::vector<std::string> strays;         ///< everything else
};

DGARetentionGroups dgaRetentionGroups(const std::vector<std::string>& names);

/// How many entries of a group are left when it has been trimmed.
double dgaRetentionTarget(int groupCode);
