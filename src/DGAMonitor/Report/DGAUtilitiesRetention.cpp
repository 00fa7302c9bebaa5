#include "DGAMonitor/Report/DGAUtilitiesRetention.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Report/DGAReportRetention.h"
#include "platform/PrivateFolder.h"
#include "support/ORVNLogger.h"

namespace {

using platform::PrivateFolder;

// As dga_removeFileAtPath, in a folder that is open already.
void removeReport(const PrivateFolder& folder, const std::string& name) {
    if (!folder.remove(name))
        logWarning("{} stays in {}: it cannot be removed", name, kDGATempStorePath);
}

bool isMoreThan(const std::vector<std::string>& names, double count) {
    return static_cast<double>(names.size()) > count;
}

}  // namespace

void DGAUtilities::dga_removeExcessiveLogZip() {
    ORVN_LOG_METHOD();
    const auto folder = PrivateFolder::open(kDGATempStorePath, PrivateFolder::Create::no);
    if (!folder)
        return;
    const DGARetentionGroups groups = dgaRetentionGroups(folder->entries());
    for (const auto& name : groups.strays)
        removeReport(*folder, name);
    if (isMoreThan(groups.archives, kMaxZipLogFileCount))
        dga__removeExcessiveFile(DGARetentionGroups::kArchives, groups.archives);
    if (isMoreThan(groups.toolsArchives, kMaxZipLogFileCount))
        dga__removeExcessiveFile(DGARetentionGroups::kToolsArchives, groups.toolsArchives);
    if (isMoreThan(groups.traceFolders, kMaxHVTempLogFileCount))
        dga__removeExcessiveFile(DGARetentionGroups::kTraceFolders, groups.traceFolders);
}

void DGAUtilities::dga__removeExcessiveFile(int groupCode, const std::vector<std::string>& fileNameArr) {
    ORVN_LOG_METHOD();
    struct Entry {
        std::chrono::nanoseconds createDate;
        std::string fileName;
    };
    const auto folder = PrivateFolder::open(kDGATempStorePath, PrivateFolder::Create::no);
    if (!folder)
        return;
    std::vector<Entry> entries;
    entries.reserve(fileNameArr.size());
    // One that has vanished meanwhile counts as the oldest: it needs no removal.
    for (const auto& name : fileNameArr)
        entries.push_back({folder->creationTime(name).value_or(std::chrono::nanoseconds::min()), name});
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.createDate < b.createDate; });
    auto left = static_cast<double>(entries.size());
    for (const auto& entry : entries) {
        removeReport(*folder, entry.fileName);
        if (--left <= dgaRetentionTarget(groupCode))
            break;
    }
}
