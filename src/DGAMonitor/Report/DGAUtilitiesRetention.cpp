#include "DGAMonitor/Report/DGAUtilitiesRetention.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Report/DGAReportRetention.h"
#include "DGAMonitor/Session/DGAPolicy.h"
#include "DGAMonitor/Utilities/DGAUtilitiesFiles.h"
#include "platform/PrivateFolder.h"
#include "support/ORVNLogger.h"

namespace {

using platform::PrivateFolder;

// What an assistant without a mark, or another program, may be making just now.
constexpr std::chrono::minutes kYoungestStray{10};
constexpr std::chrono::hours kOldestArchive{std::chrono::hours(24) * 30};

// As dga_removeFileAtPath, in a folder that is open already.
void removeReport(const PrivateFolder& folder, const std::string& name) {
    if (!folder.isLocked(name) && !folder.remove(name))
        logWarning("{} stays in {}: it cannot be removed", name, dgaStorePath());
}

// Those that were made before; the others, and what is in use, are left in the list.
void removeOlder(const PrivateFolder& folder, std::vector<std::string>& names,
                 std::chrono::system_clock::time_point oldest) {
    std::erase_if(names, [&](const std::string& name) {
        const auto made = folder.creationTime(name);
        const bool old = made && *made < oldest.time_since_epoch() && !folder.isLocked(name);
        if (old)
            removeReport(folder, name);
        return old;
    });
}

bool isMoreThan(const std::vector<std::string>& names, double count) {
    return static_cast<double>(names.size()) > count;
}

}  // namespace

void DGAUtilities::dga_removeExcessiveLogZip(std::chrono::system_clock::time_point now) {
    ORVN_LOG_METHOD();
    const auto folder = PrivateFolder::open(dgaStorePath(), PrivateFolder::Create::no);
    if (!folder)
        return;
    DGARetentionGroups groups = dgaRetentionGroups(folder->entries());
    removeOlder(*folder, groups.strays, now - kYoungestStray);
    const auto oldestArchive = now - DGAPolicy::current().keeps(kOldestArchive);
    removeOlder(*folder, groups.archives, oldestArchive);
    removeOlder(*folder, groups.toolsArchives, oldestArchive);
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
    const auto folder = PrivateFolder::open(dgaStorePath(), PrivateFolder::Create::no);
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
