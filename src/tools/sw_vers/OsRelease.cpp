#include "tools/sw_vers/OsRelease.h"

#include <sys/utsname.h>

#include <fstream>
#include <initializer_list>

namespace tools {
namespace {

std::string unquoted(const std::string& value) {
    const bool quoted = value.size() >= 2 && (value.front() == '"' || value.front() == '\'');
    if (!quoted || value.back() != value.front())
        return value;
    std::string text;
    for (size_t i = 1; i + 1 < value.size(); ++i) {
        if (value[i] == '\\' && value.front() == '"' && i + 2 < value.size())
            ++i;
        text += value[i];
    }
    return text;
}

}  // namespace

std::map<std::string, std::string> readOsRelease(const std::string& path) {
    std::map<std::string, std::string> values;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const size_t equals = line.find('=');
        if (!line.empty() && line.front() != '#' && equals != std::string::npos)
            values[line.substr(0, equals)] = unquoted(line.substr(equals + 1));
    }
    return values;
}

SystemVersion systemVersion(const std::string& osRelease) {
    const auto values = readOsRelease(osRelease);
    const auto first = [&values](std::initializer_list<const char*> names, const std::string& otherwise) {
        for (const char* name : names) {
            const auto found = values.find(name);
            if (found != values.end() && !found->second.empty())
                return found->second;
        }
        return otherwise;
    };
    utsname kernel{};
    uname(&kernel);
    const std::string release = static_cast<const char*>(kernel.release);
    return {first({"NAME", "ID"}, "Linux"),
            // A rolling distribution has no version but that of its build.
            first({"VERSION_ID", "BUILD_ID", "VERSION_CODENAME"}, "0"),
            first({"BUILD_ID", "IMAGE_VERSION"}, release)};
}

}  // namespace tools
