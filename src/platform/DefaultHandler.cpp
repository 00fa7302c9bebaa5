#include "platform/DefaultHandler.h"

#include <gio/gio.h>

#include <memory>

namespace platform {

std::string defaultHandlerPath(const std::string& scheme) {
    const std::unique_ptr<GAppInfo, decltype(&g_object_unref)> handler(
        g_app_info_get_default_for_uri_scheme(scheme.c_str()), &g_object_unref);
    const char* const program = handler ? g_app_info_get_executable(handler.get()) : nullptr;
    if (!program)
        return "";
    const std::unique_ptr<char, decltype(&g_free)> path(g_find_program_in_path(program), &g_free);
    return path ? path.get() : "";
}

}  // namespace platform
