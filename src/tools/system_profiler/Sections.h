#pragma once

#include <string>

#include "tools/system_profiler/PropertyList.h"
#include "tools/system_profiler/Sources.h"

namespace tools {

using Dictionary = PropertyValue::Dictionary;
using Items = PropertyValue::Array;

/// Adds an entry that has a value; nothing for an empty text.
inline void add(Dictionary& entries, const char* key, const std::string& text) {
    if (!text.empty())
        entries.emplace_back(key, text);
}

// One part of the profile each. None of them tells serial numbers, unique identifiers, network addresses or
// credentials.

struct PciNames {
    std::string vendor;
    std::string device;
};
/// What the system's list of PCI identifiers calls a device ("8086", "5917"); empty where it does not know.
PciNames pciNames(const Sources& sources, const std::string& vendor, const std::string& device);

/// An address without user name and password, and without a query, which may carry a key.
std::string withoutCredentials(std::string address);

Items machineItems(const Sources& sources);
Items processorItems(const Sources& sources);
Items memoryItems(const Sources& sources);
Items graphicsItems(const Sources& sources);
Items displayItems(const Sources& sources);
Items audioItems(const Sources& sources);
Items soundItems(const Sources& sources);
Items storageItems(const Sources& sources);
Items videoDeviceItems(const Sources& sources);
Items networkItems(const Sources& sources);
Items nameServerItems(const Sources& sources);
Items defaultRouteItems(const Sources& sources);
void addGnomeProxies(const Sources& sources, Items& items);

Items systemItems(const Sources& sources);
Items sessionItems(const Sources& sources);
Items proxyItems(const Sources& sources);

/// The installed packages of dpkg, by name.
std::map<std::string, std::string> installedPackages(const Sources& sources);
Items packageItems(const std::map<std::string, std::string>& packages);
Items browserItems(const Sources& sources, const std::map<std::string, std::string>& packages);
Items desktopItems(const std::map<std::string, std::string>& packages);

}  // namespace tools
