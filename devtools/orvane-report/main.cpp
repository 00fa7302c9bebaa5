#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Archive.h"
#include "JsonLines.h"
#include "Masker.h"
#include "Options.h"
#include "Page.h"
#include "devtools/trace/Printable.h"

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace orvanereport {

namespace {

namespace fs = std::filesystem;

void say(std::string_view text) {
    fmt::print(stderr, "orvane-report: {}\n", tracefile::printable(text));
}

std::string fileText(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file || !text) {
        throw std::runtime_error(fmt::format("cannot read {}", path.string()));
    }
    return std::move(text).str();
}

// Whole or not at all: pages are opened while they are made again.
void writeFile(const fs::path& path, const std::string& text) {
    const fs::path partial = path.string() + ".part";
    std::ofstream file(partial, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    std::error_code failed;
    if (file) {
        fs::rename(partial, path, failed);
    }
    if (!file || failed) {
        fs::remove(partial, failed);
        throw std::runtime_error(fmt::format("cannot write {}: {}", path.string(), std::strerror(errno)));
    }
}

/// The archives that the arguments name, one after the other.
void forEachArchive(const std::vector<std::string>& inputs, const auto& take) {
    for (const std::string& input : inputs) {
        std::error_code failed;
        if (!fs::is_directory(input, failed)) {
            take(input);
            continue;
        }
        const auto options = fs::directory_options::skip_permission_denied;
        for (fs::recursive_directory_iterator place(input, options, failed), end; !failed && place != end;
             place.increment(failed)) {
            if (place->is_regular_file(failed) && place->path().extension() == ".zip") {
                take(place->path().string());
            }
        }
        if (failed) {
            say(fmt::format("{}: {}", input, failed.message()));
        }
    }
}

int writeLines(const Options& options, Masker* masker) {
    JsonLines lines(stdout, masker);
    bool damaged = false;
    forEachArchive(options.inputs, [&](const std::string& path) {
        try {
            const TraceCount count = lines.add(Archive(path), reportNumber(path));
            if (count.badLines != 0) {
                say(fmt::format("{}: {} lines of the trace are no records", path, count.badLines));
            }
        } catch (const ArchiveError& error) {
            damaged = true;
            say(fmt::format("{}: passed over: {}", path, error.what()));
        }
    });
    if (!lines.finish()) {
        say("the records could not all be written");
        return 1;
    }
    return damaged ? 1 : 0;
}

std::vector<PagePart> partsOf(const Options& options, Masker* masker, const fs::path& beside, bool& damaged) {
    std::vector<PagePart> parts;
    std::vector<std::string> readable;
    for (const std::string& path : options.inputs) {
        try {
            const Archive archive(path);
            if (masker != nullptr) {
                masker->learn(archive);
            }
            readable.push_back(path);
        } catch (const ArchiveError& error) {
            damaged = true;
            say(fmt::format("{}: passed over: {}", path, error.what()));
        }
    }
    for (const std::string& path : readable) {
        if (masker == nullptr) {
            parts.push_back({fs::path(path).filename().string(), fileText(path)});
            continue;
        }
        const std::string name = masker->mask(reportNumber(path)) + ".masked.zip";
        const fs::path target = beside / name;
        fs::remove(target);
        masker->maskArchive(Archive(path), target.string());
        parts.push_back({name, fileText(target)});
    }
    return parts;
}

void openPage(const std::string& path) {
    const char* const arguments[] = {"xdg-open", path.c_str(), nullptr};
    pid_t process = 0;
    if (posix_spawnp(&process, "xdg-open", nullptr, nullptr, const_cast<char* const*>(arguments), environ) !=
        0) {
        say("there is no xdg-open to open the page with; it is " + path);
    }
}

fs::path newFolder() {
    std::string path = (fs::temp_directory_path() / "orvane-report.XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) {
        throw std::runtime_error("there is no room for temporary files");
    }
    return path;
}

int writePage(const Options& options, Masker* masker) {
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    const std::string pageTemplate = fileText(folder / ".." / REPORT_PAGE);
    const fs::path output = options.output.empty() ? newFolder() / "report.html" : fs::path(options.output);
    bool damaged = false;
    const auto parts = partsOf(options, masker, output.parent_path(), damaged);
    if (parts.empty()) {
        say("there is no report to show");
        return 1;
    }
    writeFile(output, pageWith(pageTemplate, parts));
    if (options.open) {
        openPage(fs::absolute(output).string());
    }
    return damaged ? 1 : 0;
}

int run(const Options& options) {
    std::optional<Masker> masker;
    if (options.mask) {
        masker.emplace();
    }
    Masker* const used = masker ? &*masker : nullptr;
    const int status = options.jsonLines ? writeLines(options, used) : writePage(options, used);
    if (used != nullptr && !options.mapping.empty()) {
        writeFile(options.mapping, used->mapping());
    }
    return status;
}

}  // namespace

}  // namespace orvanereport

int main(int argc, char** argv) {
    // What it writes tells about people.
    umask(077);
    // Archives hold local times of another place: none of them is one of this machine's.
    setenv("TZ", "UTC", 1);
    tzset();
    try {
        int status = 0;
        const auto options = orvanereport::parseOptions(argc, argv, status);
        return options ? orvanereport::run(*options) : status;
    } catch (const std::exception& error) {
        orvanereport::say(error.what());
    }
    return 1;
}
