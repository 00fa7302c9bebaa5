#include "DGAWindowModule/DGADisplay.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <QDir>
#include <QLibraryInfo>
#include <QString>
#include <cstdlib>
#include <cstring>

namespace {

std::string environment(const char* name) {
    const char* const value = getenv(name);
    return value ? value : "";
}

bool x11Answers() {
    if (environment("DISPLAY").empty())
        return false;
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

bool waylandAnswers() {
    std::string path = environment("WAYLAND_DISPLAY");
    if (path.empty())
        return false;
    if (path.front() != '/')
        path = environment("XDG_RUNTIME_DIR") + "/" + path;
    sockaddr_un address{};
    if (path.size() >= sizeof address.sun_path)
        return false;
    address.sun_family = AF_UNIX;
    std::memcpy(static_cast<char*>(address.sun_path), path.c_str(), path.size());
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return false;
    const bool answers =
        connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(descriptor);
    return answers;
}

// A platform that has no plugin would end the process.
bool hasPlugin(const std::string& platform) {
    const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + "/platforms");
    return !plugins.entryList({QString::fromStdString("libq" + platform + "*.so")}, QDir::Files).isEmpty();
}

bool answers(const std::string& platform) {
    if (platform == "xcb")
        return x11Answers() && hasPlugin(platform);
    if (platform.starts_with("wayland"))
        return waylandAnswers() && hasPlugin("wayland");
    // Asked for by name: it needs no server, or the user knows better.
    return hasPlugin(platform);
}

}  // namespace

DGADisplay DGADisplay::probe() {
    std::string wanted = environment("QT_QPA_PLATFORM");
    if (wanted.empty())
        wanted = "xcb;wayland";
    for (size_t begin = 0; begin <= wanted.size();) {
        const size_t end = std::min(wanted.find(';', begin), wanted.size());
        const std::string full = wanted.substr(begin, end - begin);
        if (answers(full.substr(0, full.find(':'))))
            return {full, {}};
        begin = end + 1;
    }
    return {{}, "no display answers (" + wanted + ")"};
}
