#include <unistd.h>

#include <fstream>
#include <sstream>

#include "tools/system_profiler/Sections.h"

namespace tools {
namespace {

std::string fieldOf(const std::string& line, const std::string& name) {
    return line.rfind(name, 0) == 0 ? trimmed(line.substr(name.size())) : "";
}

std::string versionOf(const std::map<std::string, std::string>& packages, const std::string& name) {
    const auto found = packages.find(name);
    return found == packages.end() ? "" : found->second;
}

std::string inSearchPath(const std::string& searchPath, const std::string& program) {
    std::istringstream folders(searchPath);
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::string path = folder;
        path.append("/").append(program);
        if (!folder.empty() && folder.front() == '/' && access(path.c_str(), X_OK) == 0)
            return path;
    }
    return "";
}

void addFlatpakBrowsers(const Sources& sources, Items& items) {
    for (const auto& folder :
         {sources.var + "/lib/flatpak/app", sources.home + "/.local/share/flatpak/app"}) {
        for (const char* name : {"org.mozilla.firefox", "org.chromium.Chromium", "com.google.Chrome",
                                 "com.microsoft.Edge", "com.brave.Browser", "com.opera.Opera",
                                 "com.vivaldi.Vivaldi", "org.gnome.Epiphany", "org.kde.falkon"}) {
            if (access((folder + "/" + name).c_str(), F_OK) == 0)
                items.emplace_back(Dictionary{{"flatpak", name}});
        }
    }
}

void addSnapBrowsers(const Sources& sources, Items& items) {
    for (const char* name : {"firefox", "chromium", "brave", "opera", "vivaldi"}) {
        const std::string folder = sources.snap + "/" + name + "/current";
        if (access(folder.c_str(), F_OK) != 0)
            continue;
        Dictionary entries{{"snap", name}};
        for (const auto& line : linesOf(fileText(folder + "/meta/snap.yaml")))
            add(entries, "version", fieldOf(line, "version:"));
        items.emplace_back(entries);
    }
}

}  // namespace

std::map<std::string, std::string> installedPackages(const Sources& sources) {
    std::map<std::string, std::string> packages;
    std::ifstream status(sources.var + "/lib/dpkg/status");
    std::string name;
    std::string version;
    bool installed = false;
    const auto finish = [&] {
        if (installed && !name.empty())
            packages[name] = version;
        name.clear();
        version.clear();
        installed = false;
    };
    for (std::string line; std::getline(status, line);) {
        if (line.empty())
            finish();
        else if (line[0] == 'P' && name.empty())
            name = fieldOf(line, "Package:");
        else if (line[0] == 'S' && !installed)
            installed = fieldOf(line, "Status:").find(" ok installed") != std::string::npos;
        else if (line[0] == 'V' && version.empty())
            version = fieldOf(line, "Version:");
    }
    finish();
    return packages;
}

Items packageItems(const std::map<std::string, std::string>& packages) {
    Items items;
    for (const auto& [name, version] : packages)
        items.emplace_back(Dictionary{{"package", name}, {"version", version}});
    return items;
}

Items browserItems(const Sources& sources, const std::map<std::string, std::string>& packages) {
    struct Browser {
        const char* program;
        const char* package;
    };
    constexpr Browser kBrowsers[] = {{"firefox", "firefox"},
                                     {"firefox-esr", "firefox-esr"},
                                     {"google-chrome-stable", "google-chrome-stable"},
                                     {"chromium", "chromium"},
                                     {"chromium-browser", "chromium-browser"},
                                     {"microsoft-edge-stable", "microsoft-edge-stable"},
                                     {"brave-browser", "brave-browser"},
                                     {"opera", "opera-stable"},
                                     {"vivaldi-stable", "vivaldi-stable"},
                                     {"epiphany-browser", "epiphany-browser"},
                                     {"falkon", "falkon"}};
    Items items;
    for (const auto& browser : kBrowsers) {
        const std::string path = inSearchPath(sources.environment("PATH"), browser.program);
        if (path.empty())
            continue;
        Dictionary entries{{"path", path}};
        std::string version = versionOf(packages, browser.package);
        if (version.empty() && packages.empty())
            version = trimmed(
                sources.command(std::string("rpm -q --qf '%{VERSION}-%{RELEASE}' ") + browser.package));
        add(entries, "version", version);
        items.emplace_back(entries);
    }
    addFlatpakBrowsers(sources, items);
    addSnapBrowsers(sources, items);
    return items;
}

Items desktopItems(const std::map<std::string, std::string>& packages) {
    Items items;
    for (const char* name :
         {"gnome-shell", "plasma-workspace", "xfce4-session", "mate-session-manager", "cinnamon",
          "lxqt-session", "xserver-xorg-core", "xwayland", "xdg-desktop-portal", "pipewire", "pulseaudio"}) {
        const std::string version = versionOf(packages, name);
        if (!version.empty())
            items.emplace_back(Dictionary{{"component", name}, {"version", version}});
    }
    return items;
}

}  // namespace tools
