#include "platform/TaskEnvironment.h"

#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace platform {
namespace {

struct Variable {
    std::string_view name;  // with "*" behind it, all that begin so
    Task::Surroundings since;
};

using Surroundings = Task::Surroundings;

constexpr Variable kVariables[] = {
    {"PATH", Surroundings::system},
    {"HOME", Surroundings::system},
    {"USER", Surroundings::system},
    {"LOGNAME", Surroundings::system},
    {"SHELL", Surroundings::system},
    {"TMPDIR", Surroundings::system},
    {"TZ", Surroundings::system},
    {"LANG", Surroundings::system},
    {"LANGUAGE", Surroundings::system},
    {"LC_*", Surroundings::system},
    {"XDG_CONFIG_HOME", Surroundings::system},
    {"XDG_DATA_HOME", Surroundings::system},
    {"XDG_CACHE_HOME", Surroundings::system},
    {"XDG_CONFIG_DIRS", Surroundings::system},
    {"XDG_DATA_DIRS", Surroundings::system},
#ifdef ORVANEDGA_SANITIZED
    {"ASAN_OPTIONS", Surroundings::none},
    {"LSAN_OPTIONS", Surroundings::none},
    {"UBSAN_OPTIONS", Surroundings::none},
    {"TSAN_OPTIONS", Surroundings::none},
#endif
    {"DISPLAY", Surroundings::display},
    {"XAUTHORITY", Surroundings::display},
    {"WAYLAND_DISPLAY", Surroundings::display},
    {"XDG_RUNTIME_DIR", Surroundings::display},
    {"XDG_SESSION_TYPE", Surroundings::display},
    {"XDG_SESSION_DESKTOP", Surroundings::display},
    {"XDG_CURRENT_DESKTOP", Surroundings::display},
    {"DESKTOP_SESSION", Surroundings::display},
    {"KDE_*", Surroundings::display},
    {"GNOME_*", Surroundings::display},
    {"DBUS_SESSION_BUS_ADDRESS", Surroundings::desktop},
    {"XDG_SESSION_ID", Surroundings::desktop},
    {"XDG_ACTIVATION_TOKEN", Surroundings::desktop},
    {"DESKTOP_STARTUP_ID", Surroundings::desktop},
    {"XMODIFIERS", Surroundings::desktop},
    {"QT_*", Surroundings::desktop},
    {"GTK_*", Surroundings::desktop},
    {"GDK_*", Surroundings::desktop},
    {"GIO_*", Surroundings::desktop},
    {"MOZ_*", Surroundings::desktop},
};

bool isWanted(std::string_view name, Surroundings surroundings) {
    return std::any_of(std::begin(kVariables), std::end(kVariables), [&](const Variable& variable) {
        const bool isPrefix = variable.name.ends_with('*');
        const auto wanted = variable.name.substr(0, variable.name.size() - (isPrefix ? 1 : 0));
        return surroundings >= variable.since && (isPrefix ? name.starts_with(wanted) : name == wanted);
    });
}

}  // namespace

std::vector<std::string> taskEnvironment(Surroundings surroundings) {
    std::vector<std::string> kept;
    for (char** at = environ; *at; ++at) {
        const std::string_view variable = *at;
        if (isWanted(variable.substr(0, variable.find('=')), surroundings))
            kept.emplace_back(variable);
    }
    return kept;
}

}  // namespace platform
