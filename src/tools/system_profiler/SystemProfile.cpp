#include "tools/system_profiler/SystemProfile.h"

#include "tools/system_profiler/Sections.h"

namespace tools {

std::optional<DetailLevel> detailLevelFrom(std::string_view word) {
    if (word == "mini")
        return DetailLevel::mini;
    if (word == "basic")
        return DetailLevel::basic;
    if (word == "full")
        return DetailLevel::full;
    return std::nullopt;
}

PropertyValue systemProfile(const Sources& sources, DetailLevel level) {
    Items profile;
    const auto part = [&profile](const char* type, Items items) {
        profile.emplace_back(Dictionary{{"_dataType", type}, {"_items", std::move(items)}});
    };
    const auto packages = installedPackages(sources);
    part("Machine", machineItems(sources));
    part("Processors", processorItems(sources));
    part("Memory", memoryItems(sources));
    part("System", systemItems(sources));
    part("Desktop", desktopItems(packages));
    part("Graphics", graphicsItems(sources));
    part("Displays", displayItems(sources));
    part("Audio", audioItems(sources));
    part("Sound", soundItems(sources));
    part("Storage", storageItems(sources));
    part("VideoDevices", videoDeviceItems(sources));
    if (level != DetailLevel::mini) {
        part("Session", sessionItems(sources));
        part("Network", networkItems(sources));
        part("NameServers", nameServerItems(sources));
        part("DefaultRoutes", defaultRouteItems(sources));
        part("Proxies", proxyItems(sources));
        part("Browsers", browserItems(sources, packages));
    }
    if (level == DetailLevel::full)
        part("Packages", packageItems(packages));
    return profile;
}

}  // namespace tools
