#include "platform/FileManager.h"

#include <gio/gio.h>

#include <memory>

#include "platform/Report.h"
#include "platform/Task.h"

namespace platform {
namespace {

constexpr char kName[] = "org.freedesktop.FileManager1";
constexpr char kPath[] = "/org/freedesktop/FileManager1";
// It may have to be started.
constexpr int kMilliseconds = 10000;

void openFolderOf(const std::string& path) {
    Task task;
    task.program = "/usr/bin/xdg-open";
    task.arguments = {path.substr(0, path.rfind('/') + 1)};
    task.surroundings = Task::Surroundings::desktop;
    task.output = Task::Output::discard;
    startTask(task, nullptr);
}

void answered(GObject* bus, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<std::string> path(static_cast<std::string*>(data));
    GError* error = nullptr;
    if (GVariant* const answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error)) {
        g_variant_unref(answer);
        return;
    }
    reportNotice(std::string("no file manager shows ") + *path + ": " + error->message);
    g_error_free(error);
    openFolderOf(*path);
}

void connected(GObject* /*source*/, GAsyncResult* result, gpointer data) {
    std::unique_ptr<std::string> path(static_cast<std::string*>(data));
    GDBusConnection* bus = g_bus_get_finish(result, nullptr);
    char* const uri = g_filename_to_uri(path->c_str(), nullptr, nullptr);
    if (bus && uri) {
        const char* const uris[] = {uri, nullptr};
        g_dbus_connection_call(bus, kName, kPath, kName, "ShowItems", g_variant_new("(^ass)", uris, ""),
                               nullptr, G_DBUS_CALL_FLAGS_NONE, kMilliseconds, nullptr, answered,
                               path.release());
    } else {
        openFolderOf(*path);
    }
    g_free(uri);
    g_clear_object(&bus);
}

}  // namespace

void showInFileManager(const std::string& path) {
    g_bus_get(G_BUS_TYPE_SESSION, nullptr, connected, new std::string(path));
}

}  // namespace platform
