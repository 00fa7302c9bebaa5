#include "platform/AdministratorFile.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/SmallFile.h"
#include "platform/Text.h"

namespace platform {
namespace {

constexpr int kTries = 3;
using State = AdministratorFile::State;
using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)>;

// What stands for every user that a user namespace has no number for: user_namespaces(7).
uid_t strangersNumber() {
    const auto text = readSmallFile("/proc/sys/kernel/overflowuid", 16);
    return text ? static_cast<uid_t>(std::strtoul(text->c_str(), nullptr, 10)) : 0;
}

// A process that runs with the strangers' number itself cannot tell root's files from its own.
bool isRootsAlone(const struct stat& info) {
    const bool isRoots = info.st_uid == 0 || (info.st_uid == strangersNumber() && info.st_uid != geteuid());
    return isRoots && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool isSame(const struct stat& a, const struct stat& b) {
    return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
           a.st_mtim.tv_nsec == b.st_mtim.tv_nsec && a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

std::optional<std::string> bytesOf(int file, size_t size) {
    std::string bytes(size, '\0');
    const ssize_t count = pread(file, bytes.data(), size, 0);
    if (count < 0 || static_cast<size_t>(count) != size)
        return std::nullopt;
    return bytes;
}

// Twice the same bytes, and no sign of a change: the clock of file times is coarse.
std::optional<std::string> steadyBytes(int file) {
    for (int i = 0; i < kTries; ++i) {
        struct stat before {};
        struct stat after {};
        if (fstat(file, &before) != 0)
            return std::nullopt;
        auto bytes = bytesOf(file, static_cast<size_t>(before.st_size));
        const auto again = bytesOf(file, static_cast<size_t>(before.st_size));
        if (bytes && bytes == again && fstat(file, &after) == 0 && isSame(before, after))
            return bytes;
    }
    return std::nullopt;
}

// How often each key stands in each group: GKeyFile tells only the last.
std::map<std::pair<std::string, std::string>, int> keyCounts(std::string_view text) {
    std::map<std::pair<std::string, std::string>, int> counts;
    std::string group;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        const size_t equals = line.find('=');
        if (line.starts_with('[') && line.ends_with(']'))
            group = line.substr(1, line.size() - 2);
        else if (!line.starts_with('#') && equals != std::string_view::npos)
            ++counts[{group, std::string(trimmed(line.substr(0, equals)))}];
    }
    return counts;
}

// GKeyFile lists a repeated key as often as it stands there.
std::vector<AdministratorFile::Entry> entriesOf(GKeyFile* keys, const std::string& text) {
    std::vector<AdministratorFile::Entry> entries;
    auto counts = keyCounts(text);
    gchar** const groups = g_key_file_get_groups(keys, nullptr);
    for (gchar** group = groups; *group; ++group) {
        gchar** const names = g_key_file_get_keys(keys, *group, nullptr, nullptr);
        for (gchar** name = names; name && *name; ++name) {
            const int count = std::exchange(counts[{*group, *name}], 0);
            gchar* const value = g_key_file_get_value(keys, *group, *name, nullptr);
            if (count > 0)
                entries.push_back({*group, *name, std::string(trimmed(value ? value : "")), count > 1});
            g_free(value);
        }
        g_strfreev(names);
    }
    g_strfreev(groups);
    return entries;
}

AdministratorFile parsed(const std::string& text) {
    AdministratorFile file;
    const KeyFile keys(g_key_file_new(), &g_key_file_unref);
    GError* error = nullptr;
    if (text.find('\0') != std::string::npos || !isUtf8(text)) {
        file.fault = "it is not UTF-8 text";
    } else if (!text.empty() &&
               !g_key_file_load_from_data(keys.get(), text.data(), text.size(), G_KEY_FILE_NONE, &error)) {
        file.fault = error->message;
        g_error_free(error);
    } else {
        file.entries = entriesOf(keys.get(), text);
    }
    file.state = file.fault.empty() ? State::read : State::unreadable;
    return file;
}

AdministratorFile refused(State state, std::string fault) {
    AdministratorFile file;
    file.state = state;
    file.fault = std::move(fault);
    return file;
}

AdministratorFile readOpen(int folder, int file, AdministratorFile::Trust trust) {
    struct stat folderInfo {};
    struct stat info {};
    if (fstat(folder, &folderInfo) != 0 || fstat(file, &info) != 0)
        return refused(State::unreadable, std::strerror(errno));
    if (trust == AdministratorFile::Trust::rootOnly && (!isRootsAlone(folderInfo) || !isRootsAlone(info)))
        return refused(State::ignored, "it or its folder is not root's, or others may write to it");
    if (!S_ISREG(info.st_mode))
        return refused(State::unreadable, "it is no regular file");
    if (info.st_size > static_cast<off_t>(AdministratorFile::kLongest))
        return refused(State::unreadable, "it is longer than 64 KiB");
    const auto text = steadyBytes(file);
    return text ? parsed(*text) : refused(State::unreadable, "it changes while it is read");
}

}  // namespace

AdministratorFile AdministratorFile::read(const std::string& path, Trust trust) {
    const size_t slash = path.rfind('/');
    const std::string folderName = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const int folder = open(folderName.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return errno == ENOENT ? AdministratorFile() : refused(State::unreadable, std::strerror(errno));
    AdministratorFile result;
    const int file = openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (file >= 0)
        result = readOpen(folder, file, trust);
    else if (errno != ENOENT)
        result = refused(State::unreadable, errno == ELOOP ? "it is a link" : std::strerror(errno));
    if (file >= 0)
        close(file);
    close(folder);
    return result;
}

}  // namespace platform
