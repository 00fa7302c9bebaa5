#include "reportproblem/ReportSources.h"

#include "platform/BundleInfo.h"
#include "platform/UserFiles.h"
#include "support/ORVNLogger.h"

namespace {

std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

ReportSources::ReportSources(const std::string& reservedName) : names_{reservedName} {}

void ReportSources::add(const std::string& path, const std::string& kind) {
    if (path.empty())
        return;
    const platform::UserFileRule rule{kLargestFile, platform::BundleInfo::executableFolder()};
    for (const auto& file : platform::userFilesAt(path, rule)) {
        if (!paths_.insert(file.path).second)
            continue;
        if (file.fault.empty())
            files.push_back({file.path, freeName(nameOf(file.path)), kind, file.size, {}});
        else
            leaveOut(file.path, file.fault);
    }
}

void ReportSources::leaveOut(const std::string& path, const std::string& reason) {
    logWarning("left out of the report: {}: {}", path, reason);
    leftOut.push_back({nameOf(path), reason});
}

std::string ReportSources::freeName(const std::string& name) {
    const size_t dot = name.rfind('.');
    const size_t stem = dot == std::string::npos || dot == 0 ? name.size() : dot;
    std::string free = name;
    for (int number = 2; !names_.insert(free).second; ++number)
        free = name.substr(0, stem) + "-" + std::to_string(number) + name.substr(stem);
    return free;
}
