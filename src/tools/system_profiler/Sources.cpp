#include "tools/system_profiler/Sources.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace tools {

Sources Sources::ofThisSystem() {
    Sources sources;
    sources.environment = [](const char* name) -> std::string {
        const char* value = std::getenv(name);
        return value ? value : "";
    };
    sources.home = sources.environment("HOME");
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
