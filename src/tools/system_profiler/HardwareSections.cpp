#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "tools/system_profiler/Sections.h"

namespace tools {
namespace {

// The value of a "key : value" line.
std::string valueOf(const std::string& line, const std::string& key) {
    const size_t colon = line.find(':');
    if (colon == std::string::npos || trimmed(line.substr(0, colon)) != key)
        return "";
    return trimmed(line.substr(colon + 1));
}

std::string linkName(const std::string& path) {
    std::error_code failed;
    return std::filesystem::read_symlink(path, failed).filename().string();
}

// An interface that is named after its hardware address shows only the beginning of that name.
std::string nameWithoutAddress(const std::string& name) {
    constexpr size_t kAddressDigits = 12;
    if (name.size() <= kAddressDigits)
        return name;
    const size_t start = name.size() - kAddressDigits;
    for (size_t i = start; i < name.size(); ++i) {
        if (!std::isxdigit(static_cast<unsigned char>(name[i])))
            return name;
    }
    return name.substr(0, start) + "...";
}

std::string interfaceType(const std::string& folder) {
    std::error_code failed;
    if (std::filesystem::exists(folder + "/wireless", failed) ||
        std::filesystem::exists(folder + "/phy80211", failed))
        return "wireless";
    const std::string type = firstLine(folder + "/type");
    if (fileText(folder + "/uevent", 4096).find("DEVTYPE=wireguard") != std::string::npos)
        return "VPN (WireGuard)";
    if (type == "512")
        return "VPN or modem (PPP)";
    if (type == "772")
        return "loopback";
    if (type == "1")
        return std::filesystem::exists(folder + "/device", failed) ? "ethernet" : "virtual ethernet";
    return type == "65534" ? "VPN (tunnel)" : "type " + type;
}

}  // namespace

Items machineItems(const Sources& sources) {
    const std::string folder = sources.sys + "/class/dmi/id/";
    Dictionary machine;
    for (const char* name :
         {"sys_vendor", "product_name", "product_version", "product_family", "board_vendor", "board_name",
          "chassis_type", "bios_vendor", "bios_version", "bios_date"})
        add(machine, name, firstLine(folder + name));
    if (machine.empty()) {  // boards without DMI
        const std::string model = fileText(sources.proc + "/device-tree/model", 256);
        add(machine, "product_name", trimmed(model.substr(0, model.find('\0'))));
    }
    return machine.empty() ? Items{} : Items{machine};
}

Items processorItems(const Sources& sources) {
    std::string model;
    int64_t logical = 0;
    for (const auto& line : linesOf(fileText(sources.proc + "/cpuinfo", size_t{4} << 20))) {
        if (!valueOf(line, "processor").empty())
            ++logical;
        for (const char* key : {"model name", "Model", "cpu model"}) {
            if (model.empty())
                model = valueOf(line, key);
        }
    }
    Dictionary processors;
    add(processors, "model", model);
    processors.emplace_back("logical_processors", logical);
    return {processors};
}

Items memoryItems(const Sources& sources) {
    Dictionary memory;
    for (const auto& line : linesOf(fileText(sources.proc + "/meminfo"))) {
        for (const char* key : {"MemTotal", "MemAvailable", "SwapTotal", "SwapFree"}) {
            const std::string value = valueOf(line, key);
            if (!value.empty())
                memory.emplace_back(std::string(key) + "_kB", std::strtoll(value.c_str(), nullptr, 10));
        }
    }
    return memory.empty() ? Items{} : Items{memory};
}

Items graphicsItems(const Sources& sources) {
    Items items;
    const std::string devices = sources.sys + "/bus/pci/devices/";
    for (const auto& name : namesIn(devices)) {
        const std::string device = devices + name;
        if (firstLine(device + "/class").rfind("0x03", 0) != 0)
            continue;
        Dictionary card{{"slot", name}};
        const std::string vendor = firstLine(device + "/vendor");
        const std::string model = firstLine(device + "/device");
        add(card, "vendor", vendor);
        add(card, "device", model);
        if (vendor.starts_with("0x") && model.starts_with("0x")) {
            const PciNames names = pciNames(sources, vendor.substr(2), model.substr(2));
            add(card, "vendor_name", names.vendor);
            add(card, "device_name", names.device);
        }
        add(card, "driver", linkName(device + "/driver"));
        items.emplace_back(card);
    }
    return items;
}

Items displayItems(const Sources& sources) {
    Items items;
    const std::string folder = sources.sys + "/class/drm/";
    for (const auto& name : namesIn(folder)) {
        const std::string status = firstLine(folder + name + "/status");
        if (name.find('-') == std::string::npos || status.empty())
            continue;
        Dictionary display{{"connector", name}, {"status", status}};
        add(display, "enabled", firstLine(folder + name + "/enabled"));
        add(display, "preferred_mode", firstLine(folder + name + "/modes"));
        items.emplace_back(display);
    }
    return items;
}

Items audioItems(const Sources& sources) {
    Items items;
    for (const auto& line : linesOf(fileText(sources.proc + "/asound/cards"))) {
        // " 0 [PCH            ]: HDA-Intel - HDA Intel PCH"; the line below repeats it with addresses
        const size_t bracket = line.find("]: ");
        if (bracket != std::string::npos)
            items.emplace_back(Dictionary{{"card", trimmed(line.substr(bracket + 3))}});
    }
    return items;
}

Items videoDeviceItems(const Sources& sources) {
    Items items;
    const std::string folder = sources.sys + "/class/video4linux/";
    for (const auto& name : namesIn(folder)) {
        Dictionary device{{"device", name}};
        add(device, "name", firstLine(folder + name + "/name"));
        items.emplace_back(device);
    }
    return items;
}

Items networkItems(const Sources& sources) {
    Items items;
    const std::string folder = sources.sys + "/class/net/";
    for (const auto& name : namesIn(folder)) {
        const std::string type = interfaceType(folder + name);
        if (firstLine(folder + name + "/type").empty())
            continue;  // "bonding_masters" and the like
        Dictionary interface {
            {"interface", nameWithoutAddress(name)}, { "type", type }
        };
        add(interface, "state", firstLine(folder + name + "/operstate"));
        items.emplace_back(interface);
    }
    return items;
}

}  // namespace tools
