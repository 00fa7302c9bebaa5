#include "tools/system_profiler/Sources.h"

#include <gio/gio.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace tools {

namespace {

// A value that is no text is told as GVariant prints it.
std::string desktopSetting(const char* schemaName, const char* key) {
    GSettingsSchemaSource* const source = g_settings_schema_source_get_default();
    GSettingsSchema* const schema =
        source ? g_settings_schema_source_lookup(source, schemaName, TRUE) : nullptr;
    std::string text;
    if (schema && g_settings_schema_has_key(schema, key) != FALSE) {
        GSettings* const settings = g_settings_new(schemaName);
        GVariant* const value = g_settings_get_value(settings, key);
        if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING) != FALSE) {
            text = g_variant_get_string(value, nullptr);
        } else {
            char* const printed = g_variant_print(value, FALSE);
            text = printed;
            g_free(printed);
        }
        g_variant_unref(value);
        g_object_unref(settings);
    }
    if (schema)
        g_settings_schema_unref(schema);
    return text;
}

// Only commands of ours, with nothing from outside in them.
std::string commandOutput(const std::string& command) {
    std::FILE* const output = popen(("timeout 2 " + command + " 2>/dev/null </dev/null").c_str(), "r");
    if (!output)
        return "";
    std::string text;
    char block[4096];
    for (size_t count = 1; count > 0; text.append(static_cast<const char*>(block), count))
        count = std::fread(static_cast<char*>(block), 1, sizeof block, output);
    return pclose(output) == 0 ? text : "";
}

}  // namespace

Sources Sources::ofThisSystem() {
    Sources sources;
    sources.environment = [](const char* name) -> std::string {
        const char* value = std::getenv(name);
        return value ? value : "";
    };
    sources.home = sources.environment("HOME");
    sources.setting = desktopSetting;
    sources.command = commandOutput;
    return sources;
}

std::string fileText(const std::string& path, size_t limit) {
    std::ifstream file(path, std::ios::binary);
    std::string text;
    char buffer[16384];
    while (text.size() < limit && (file.read(static_cast<char*>(buffer), sizeof buffer), file.gcount() > 0))
        text.append(static_cast<const char*>(buffer), static_cast<size_t>(file.gcount()));
    text.resize(std::min(text.size(), limit));
    return text;
}

std::string trimmed(const std::string& text) {
    constexpr char kBlanks[] = " \t\r\n";
    const size_t first = text.find_first_not_of(kBlanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string firstLine(const std::string& path) {
    const std::string text = fileText(path, 4096);
    return trimmed(text.substr(0, text.find('\n')));
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code failed;
    for (std::filesystem::directory_iterator entry(folder, failed), end; !failed && entry != end;
         entry.increment(failed))
        names.push_back(entry->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace tools
