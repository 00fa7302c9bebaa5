#include "DGAMonitor/Utilities/DGAUtilitiesProgram.h"

#include "DGAMonitor/Utilities/Tool/DGATaskTool.h"
#include "platform/BundleInfo.h"
#include "platform/DistributedNotificationCenter.h"
#include "support/ORVNLogger.h"

std::string DGAUtilities::dga_postDistributedNotificationWithName(
    const std::string& name, const std::optional<std::string>& object,
    const std::map<std::string, std::string>& userInfo, bool immediately,
    const std::map<std::string, int32_t>& numbers) {
    ORVN_LOG_METHOD();
    platform::DistributedNotificationCenter::defaultCenter().postNotification(
        {.name = name, .object = object, .userInfo = userInfo, .numbers = numbers}, immediately);
    return name;
}

std::string DGAUtilities::dga_fetchBuildVersion() {
    return platform::BundleInfo::buildVersion();
}

std::string DGAUtilities::dga_fetchAppVersion() {
    return platform::BundleInfo::shortVersion();
}

std::string DGAUtilities::dga_fetchOSVersion() {
    return DGATaskTool::runTaskWithCMD("/usr/bin/sw_vers -productVersion").value_or("");
}
