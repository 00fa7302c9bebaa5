#include <cstdlib>
#include <sstream>

#include "tools/system_profiler/Sections.h"

namespace tools {
namespace {

// "0101A8C0" of /proc/net/route, the lowest byte first: 192.168.1.1.
std::string dotted(const std::string& hexadecimal) {
    const unsigned long address = std::strtoul(hexadecimal.c_str(), nullptr, 16);
    std::string text;
    for (int byte = 0; byte < 4; ++byte)
        text += (byte == 0 ? "" : ".") + std::to_string(address >> (8 * byte) & 0xFF);
    return text;
}

void addSetting(const Sources& sources, Items& items, const char* schema, const char* key) {
    const std::string value = sources.setting(schema, key);
    if (!value.empty())
        items.emplace_back(
            Dictionary{{"source", schema}, {"setting", key}, {"value", withoutCredentials(value)}});
}

}  // namespace

Items nameServerItems(const Sources& sources) {
    Items items;
    for (const auto& line : linesOf(fileText(sources.etc + "/resolv.conf"))) {
        std::istringstream words(line);
        std::string key;
        std::string address;
        if (words >> key >> address && key == "nameserver")
            items.emplace_back(Dictionary{{"address", address}});
    }
    return items;
}

Items defaultRouteItems(const Sources& sources) {
    Items items;
    for (const auto& line : linesOf(fileText(sources.proc + "/net/route"))) {
        std::istringstream words(line);
        std::string interface;
        std::string destination;
        std::string gateway;
        if (words >> interface >> destination >> gateway && destination == "00000000")
            items.emplace_back(Dictionary{{"interface", interface}, {"gateway", dotted(gateway)}});
    }
    return items;
}

void addGnomeProxies(const Sources& sources, Items& items) {
    for (const char* key : {"mode", "autoconfig-url", "ignore-hosts"})
        addSetting(sources, items, "org.gnome.system.proxy", key);
    for (const char* schema :
         {"org.gnome.system.proxy.http", "org.gnome.system.proxy.https", "org.gnome.system.proxy.socks"}) {
        for (const char* key : {"host", "port"})
            addSetting(sources, items, schema, key);
    }
}

}  // namespace tools
