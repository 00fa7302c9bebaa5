#include <filesystem>
#include <system_error>

#include "tools/system_profiler/Sections.h"

namespace tools {
namespace {

std::string timeZone(const Sources& sources) {
    std::string zone = sources.environment("TZ");
    if (zone.empty())
        zone = firstLine(sources.etc + "/timezone");
    if (zone.empty()) {
        std::error_code failed;
        const std::string target = std::filesystem::read_symlink(sources.etc + "/localtime", failed).string();
        const size_t folder = target.find("zoneinfo/");
        if (folder != std::string::npos)
            zone = target.substr(folder + sizeof "zoneinfo/" - 1);
    }
    return zone;
}

void addEnvironmentProxies(const Sources& sources, Items& items) {
    for (const char* name : {"http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY", "ftp_proxy",
                             "FTP_PROXY", "all_proxy", "ALL_PROXY", "auto_proxy", "no_proxy", "NO_PROXY"}) {
        const std::string value = sources.environment(name);
        if (!value.empty())
            items.emplace_back(Dictionary{
                {"source", "environment"}, {"setting", name}, {"value", withoutCredentials(value)}});
    }
}

void addKdeProxies(const Sources& sources, Items& items) {
    if (sources.home.empty())
        return;
    bool inside = false;
    for (const auto& rawLine : linesOf(fileText(sources.home + "/.config/kioslaverc"))) {
        const std::string line = trimmed(rawLine);
        if (line.rfind('[', 0) == 0)
            inside = line == "[Proxy Settings]";
        const size_t equals = line.find('=');
        if (!inside || equals == std::string::npos)
            continue;
        // "httpProxy[$e]" is the same setting with variables in it.
        std::string key = trimmed(line.substr(0, equals));
        key = key.substr(0, key.find('['));
        for (const char* known : {"ProxyType", "httpProxy", "httpsProxy", "ftpProxy", "socksProxy",
                                  "NoProxyFor", "ReversedException", "Proxy Config Script"}) {
            const std::string value = trimmed(line.substr(equals + 1));
            if (key == known && !value.empty())
                items.emplace_back(Dictionary{
                    {"source", "kioslaverc"}, {"setting", key}, {"value", withoutCredentials(value)}});
        }
    }
}

}  // namespace

std::string withoutCredentials(std::string address) {
    const size_t scheme = address.find("://");
    const size_t start = scheme == std::string::npos ? 0 : scheme + 3;
    const size_t at = address.rfind('@');
    if (at != std::string::npos && at >= start)
        address.erase(start, at + 1 - start);
    return address.substr(0, address.find_first_of("?#"));
}

Items systemItems(const Sources& sources) {
    Dictionary system;
    for (const auto& line : linesOf(fileText(sources.etc + "/os-release"))) {
        for (const char* name : {"PRETTY_NAME", "ID", "VERSION_ID", "BUILD_ID"}) {
            if (line.rfind(std::string(name) + "=", 0) != 0)
                continue;
            std::string value = trimmed(line.substr(line.find('=') + 1));
            if (value.size() >= 2 && value.front() == value.back() && (value[0] == '"' || value[0] == '\''))
                value = value.substr(1, value.size() - 2);
            add(system, name, value);
        }
    }
    add(system, "kernel", firstLine(sources.proc + "/sys/kernel/ostype"));
    add(system, "kernel_release", firstLine(sources.proc + "/sys/kernel/osrelease"));
    add(system, "kernel_version", firstLine(sources.proc + "/sys/kernel/version"));
    add(system, "architecture", firstLine(sources.proc + "/sys/kernel/arch"));
    const std::string uptime = firstLine(sources.proc + "/uptime");
    add(system, "uptime_seconds", uptime.substr(0, uptime.find_first_of(". ")));
    return {system};
}

Items sessionItems(const Sources& sources) {
    Dictionary session;
    for (const char* name :
         {"XDG_CURRENT_DESKTOP", "DESKTOP_SESSION", "XDG_SESSION_TYPE", "WAYLAND_DISPLAY", "DISPLAY",
          "GDK_SCALE", "QT_SCALE_FACTOR", "LANG", "LANGUAGE", "LC_ALL", "LC_CTYPE", "LC_MESSAGES", "LC_TIME"})
        add(session, name, sources.environment(name));
    add(session, "gnome_scaling_factor", sources.setting("org.gnome.desktop.interface", "scaling-factor"));
    add(session, "gnome_text_scaling_factor",
        sources.setting("org.gnome.desktop.interface", "text-scaling-factor"));
    add(session, "time_zone", timeZone(sources));
    return session.empty() ? Items{} : Items{session};
}

Items proxyItems(const Sources& sources) {
    Items items;
    addEnvironmentProxies(sources, items);
    addKdeProxies(sources, items);
    addGnomeProxies(sources, items);
    return items;
}

}  // namespace tools
