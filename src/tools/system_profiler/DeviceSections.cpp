#include <sys/statvfs.h>

#include <algorithm>
#include <cctype>
#include <fstream>

#include "tools/system_profiler/Sections.h"

namespace tools {
namespace {

constexpr int64_t kMegabyte = 1'000'000;

// "12:34:..." or "12_34_..." of a Bluetooth device, which says whose it is.
std::string withoutHardwareAddress(std::string name) {
    constexpr size_t kLength = 17;
    for (size_t at = 0; at + kLength <= name.size(); ++at) {
        bool isAddress = true;
        for (size_t i = 0; i < kLength && isAddress; ++i) {
            const char c = name[at + i];
            isAddress = i % 3 == 2 ? c == ':' || c == '_' : std::isxdigit(static_cast<unsigned char>(c)) != 0;
        }
        if (isAddress)
            name.replace(at, kLength, "...");
    }
    return name;
}

}  // namespace

PciNames pciNames(const Sources& sources, const std::string& vendor, const std::string& device) {
    PciNames names;
    // https://pci-ids.ucw.cz: "8086  Intel Corporation", and below it "\t5917  UHD Graphics 620".
    for (const char* file : {"/share/misc/pci.ids", "/share/hwdata/pci.ids"}) {
        std::ifstream list(sources.usr + file);
        bool inside = false;
        for (std::string line; names.device.empty() && std::getline(list, line);) {
            if (line.empty() || line[0] == '#' || line.starts_with("\t\t"))
                continue;
            if (line[0] != '\t') {
                if (inside)
                    break;
                inside = line.starts_with(vendor + " ");
                if (inside)
                    names.vendor = trimmed(line.substr(vendor.size()));
            } else if (inside && line.compare(1, device.size() + 1, device + " ") == 0) {
                names.device = trimmed(line.substr(device.size() + 1));
            }
        }
        if (!names.vendor.empty())
            break;
    }
    return names;
}

Items storageItems(const Sources& sources) {
    Items items;
    for (const char* folder : {"/", "/home", "/tmp"}) {
        struct statvfs info {};
        if (statvfs((sources.root + folder).c_str(), &info) != 0)
            continue;
        const auto megabytes = [&info](fsblkcnt_t blocks) {
            return static_cast<int64_t>(blocks) * static_cast<int64_t>(info.f_frsize) / kMegabyte;
        };
        items.emplace_back(Dictionary{{"folder", folder},
                                      {"free_MB", megabytes(info.f_bavail)},
                                      {"size_MB", megabytes(info.f_blocks)}});
    }
    return items;
}

Items soundItems(const Sources& sources) {
    // Of PulseAudio, and of PipeWire that stands in for it.
    Dictionary defaults;
    add(defaults, "default_speaker",
        withoutHardwareAddress(trimmed(sources.command("pactl get-default-sink"))));
    add(defaults, "default_microphone",
        withoutHardwareAddress(trimmed(sources.command("pactl get-default-source"))));
    return defaults.empty() ? Items{} : Items{defaults};
}

}  // namespace tools
