#include "DGAMonitor/Report/DGAReportRetention.h"

#include <string_view>

#include "DGAMonitor/Const/DGAConst.h"

namespace {

constexpr std::string_view kArchiveEnding = "zip";
// Room before archives have to be removed again.
constexpr double kTrimmedArchives = 5.0;

std::vector<std::string>& listFor(const std::string& name, DGARetentionGroups& groups) {
    if (name.starts_with(kDGATraceFolderPrefix))
        return groups.traceFolders;
    if (name.starts_with(kDGAKTRunPrefix))
        return groups.toolsArchives;
    return name.ends_with(kArchiveEnding) ? groups.archives : groups.strays;
}

}  // namespace

DGARetentionGroups dgaRetentionGroups(const std::vector<std::string>& names) {
    DGARetentionGroups groups;
    for (const auto& name : names)
        listFor(name, groups).push_back(name);
    return groups;
}

double dgaRetentionTarget(int groupCode) {
    return groupCode == DGARetentionGroups::kTraceFolders ? kMaxHVTempLogFileCount
                                                          : kMaxZipLogFileCount - kTrimmedArchives;
}
