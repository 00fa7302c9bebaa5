#include "reportproblem/OrvLogCollector.h"

#include <sys/stat.h>

#include "DGAMonitor/Session/DGASessionRecord.h"
#include "platform/BundleInfo.h"

OrvLogCollector::Paths OrvLogCollector::allLogs() {
    Paths all = allMeetingLogsSortedByTimestamp();
    for (const Paths& kind : {allGpcLogsSortedByTimestamp(), allChromeGpcLogsSortedByTimestamp(),
                              allAppextLogsSortedByTimestamp(), allDGALogsSortedByTimestamp()})
        all.insert(all.end(), kind.begin(), kind.end());
    return all;
}

OrvLogCollector::Paths OrvLogCollector::allLatestLogs() {
    std::vector<std::optional<std::string>> logs = {latestMeetingLogFromHV(), latestGpcLog(),
                                                    latestChromeGpcLog(),     latestAppextLog(),
                                                    latestOrvaneParameters(), latestDGALog()};
    logs.insert(logs.end(), traceFiles.begin(), traceFiles.end());
    return listUntilMissing(logs);
}

std::string OrvLogCollector::latestOrvaneParameters() const {
    return platform::BundleInfo::executableFolder() + "/orvaneparameters.txt";
}

// The path comes from outside and goes to a command: one that is not absolute could be taken for an option
// there, and a folder would be packed with all it contains.
std::string OrvLogCollector::latestMeetingLogFromHV() const {
    const std::string path = DGASessionRecord::sharedRecord().logFileName.get().value_or("");
    struct stat info {};
    const bool isFile = path.starts_with('/') && path.find('\0') == std::string::npos &&
                        stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
    return isFile ? path : std::string();
}

OrvLogCollector::Paths OrvLogCollector::listUntilMissing(
    const std::vector<std::optional<std::string>>& texts) {
    Paths present;
    for (const auto& text : texts) {
        if (!text)
            break;
        present.push_back(*text);
    }
    return present;
}
