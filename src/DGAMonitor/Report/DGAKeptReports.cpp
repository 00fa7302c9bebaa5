#include "DGAMonitor/Report/DGAKeptReports.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <nlohmann/json.hpp>
#include <utility>

#include "DGAMonitor/Session/DGAReportResults.h"
#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "platform/FileMove.h"
#include "platform/HomePath.h"
#include "platform/PrivateFolder.h"
#include "platform/SmallFile.h"
#include "platform/WorkQueue.h"
#include "support/JsonValue.h"
#include "support/ORVNLogger.h"

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(DGAKeptReports::Report, number, description, category,
                                                serviceType, time, state, announced)

namespace {

namespace fs = std::filesystem;
using platform::PrivateFolder;

constexpr size_t kMostReports = 10;
constexpr uintmax_t kMostBytes = 500'000'000;
constexpr std::chrono::hours kLongest{30 * 24};
constexpr size_t kLongestDescription = size_t{1024} * 1024;

std::string stateFolder() {
    const char* const set = std::getenv("XDG_STATE_HOME");
    const std::string base = set && *set == '/' ? set : platform::expandTilde("~/.local/state");
    return base + "/orvanedga/reports";
}

std::mutex& oneAtATime() {
    static std::mutex mutex;
    return mutex;
}

std::string textOf(const DGAKeptReports::Report& report) {
    return nlohmann::json(report).dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

DGAKeptReports::DGAKeptReports(std::string folder, DGAPolicy policy)
    : folder_(folder.empty() ? stateFolder() : std::move(folder)), policy_(std::move(policy)) {}

std::string DGAKeptReports::numberOf(const std::string& archivePath) {
    return fs::path(archivePath).stem().string();
}

platform::SerialQueue& DGAKeptReports::queue() {
    static auto* const queue = new platform::SerialQueue("kept reports");
    return *queue;
}

std::string DGAKeptReports::archivePath(const std::string& number) const {
    return folder_ + "/" + number + ".zip";
}

std::optional<std::string> DGAKeptReports::pathOf(const std::string& number) const {
    const auto folder = PrivateFolder::openLast(folder_);
    if (!folder || !folder->contains(number + ".zip"))
        return std::nullopt;
    return folder_ + "/" + number;
}

bool DGAKeptReports::keep(const std::string& archive, Report report) const {
    const std::lock_guard<std::mutex> hold(oneAtATime());
    if (policy_.keeps(kLongest) == std::chrono::hours(0)) {
        logWarning("the report {} is not kept: the administrator's policy forbids it", archive);
        return false;
    }
    std::error_code failed;
    fs::create_directories(folder_, failed);
    fs::permissions(folder_, fs::perms::owner_all, failed);
    const auto folder = PrivateFolder::openLast(folder_);
    report.number = numberOf(archive);
    // One that is kept again is still the report of its time.
    for (const auto& before : reports()) {
        if (before.number == report.number)
            report.time = before.time;
    }
    if (report.time.empty())
        report.time = dga_currentISODateString();
    if (!folder || !folder->replaceFile(report.number + ".json", textOf(report))) {
        logWarning("the report {} cannot be kept in {}", archive, folder_);
        return false;
    }
    // By a second name, as it stays where it is, too: its window may still save or send it.
    const std::string second = archive + ".keep";
    unlink(second.c_str());
    if (archive != archivePath(report.number) && (link(archive.c_str(), second.c_str()) != 0 ||
                                                  !platform::moveFile(second, archivePath(report.number)))) {
        unlink(second.c_str());
        folder->remove(report.number + ".json");
        logWarning("the report {} cannot be kept in {}", archive, folder_);
        return false;
    }
    removeExcess();
    DGAReportResults::sharedResults().tell({report.number, DGAReportState::kKept});
    return true;
}

std::vector<DGAKeptReports::Report> DGAKeptReports::reports() const {
    std::vector<Report> found;
    const auto folder = PrivateFolder::openLast(folder_);
    for (const std::string& name : folder ? folder->entries() : std::vector<std::string>()) {
        if (!name.ends_with(".json"))
            continue;
        const auto text = platform::readSmallFile(folder_ + "/" + name, kLongestDescription);
        const auto parsed = text ? support::parseJson(*text) : std::nullopt;
        try {
            if (!parsed)
                continue;
            auto report = parsed->get<Report>();
            report.number = fs::path(name).stem().string();
            if (folder->contains(report.number + ".zip"))
                found.push_back(std::move(report));
        } catch (const nlohmann::json::exception&) {
            logNotice("what is kept in {} cannot be read", name);
        }
    }
    std::sort(found.begin(), found.end(), [](const Report& a, const Report& b) { return a.time < b.time; });
    return found;
}

void DGAKeptReports::remove(const std::string& number) const {
    if (const auto folder = PrivateFolder::openLast(folder_)) {
        folder->remove(number + ".json");
        folder->remove(number + ".zip");
    }
}

bool DGAKeptReports::hasAny() const {
    const auto folder = PrivateFolder::openLast(folder_);
    return folder && !folder->entries().empty();
}

void DGAKeptReports::tidy() const {
    const std::lock_guard<std::mutex> hold(oneAtATime());
    removeExcess();
}

void DGAKeptReports::discard(const std::string& number) const {
    remove(number);
    DGAReportResults::sharedResults().tell({number, DGAReportState::kDiscarded});
}

void DGAKeptReports::markAnnounced(const std::string& number) const {
    const std::lock_guard<std::mutex> hold(oneAtATime());
    const auto folder = PrivateFolder::openLast(folder_);
    for (auto& report : reports()) {
        if (report.number != number || !folder)
            continue;
        report.announced = true;
        folder->replaceFile(number + ".json", textOf(report));
    }
}

void DGAKeptReports::removeExcess() const {
    auto kept = reports();
    std::reverse(kept.begin(), kept.end());
    size_t count = 0;
    uintmax_t bytes = 0;
    for (const auto& report : kept) {
        struct stat info {};
        if (stat(archivePath(report.number).c_str(), &info) != 0)
            continue;
        bytes += static_cast<uintmax_t>(info.st_size);
        const auto age =
            std::chrono::system_clock::now() - std::chrono::system_clock::from_time_t(info.st_mtime);
        if (++count > kMostReports || (count > 1 && bytes > kMostBytes) || age > policy_.keeps(kLongest))
            remove(report.number);
    }
}
