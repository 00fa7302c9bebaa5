#include "Archive.h"

#include <fmt/format.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <nlohmann/json.hpp>

namespace orvanereport {

namespace {

constexpr uint64_t kMostSummary = 1 << 20;

/// The modification time in UTC, from the extended timestamp that Info-ZIP adds to every entry.
std::optional<int64_t> utcTime(zip_t* archive, uint64_t index) {
    constexpr uint16_t kExtendedTimestamp = 0x5455;
    zip_uint16_t length = 0;
    const zip_uint8_t* const field =
        zip_file_extra_field_get_by_id(archive, index, kExtendedTimestamp, 0, &length, ZIP_FL_CENTRAL);
    if (field == nullptr || length < 5 || (field[0] & 1) == 0) {
        return std::nullopt;
    }
    return static_cast<int32_t>(field[1] | field[2] << 8 | field[3] << 16 |
                                static_cast<uint32_t>(field[4]) << 24);
}

std::optional<int> quarterHours(int64_t seconds) {
    constexpr int64_t kQuarter = 900;
    const int64_t quarters = (seconds + (seconds < 0 ? -kQuarter : kQuarter) / 2) / kQuarter;
    if (quarters < -4L * 14 || quarters > 4L * 14) {
        return std::nullopt;
    }
    return static_cast<int>(15 * quarters);
}

/// From "…+01:00" or "…Z".
std::optional<int> offsetOf(std::string_view time) {
    if (time.ends_with('Z')) {
        return 0;
    }
    constexpr size_t kLength = 6;
    if (time.size() < kLength) {
        return std::nullopt;
    }
    const std::string zone(time.substr(time.size() - kLength));
    int hours = 0;
    int minutes = 0;
    if ((zone[0] != '+' && zone[0] != '-') ||
        std::sscanf(zone.c_str() + 1, "%2d:%2d", &hours, &minutes) != 2) {
        return std::nullopt;
    }
    return (zone[0] == '-' ? -1 : 1) * (60 * hours + minutes);
}

std::string bareName(std::string_view name) {
    return std::string(name.substr(name.find_last_of("/\\") + 1));
}

}  // namespace

Archive::Archive(const std::string& path) {
    int code = 0;
    archive_.reset(zip_open(path.c_str(), ZIP_RDONLY, &code));
    if (!archive_) {
        zip_error_t error;
        zip_error_init_with_code(&error, code);
        const std::string reason = zip_error_strerror(&error);
        zip_error_fini(&error);
        throw ArchiveError(reason);
    }
    const auto count = static_cast<uint64_t>(zip_get_num_entries(archive_.get(), 0));
    if (count > kMostEntries) {
        throw ArchiveError(fmt::format("it has {} files, more than {}", count, kMostEntries));
    }
    for (uint64_t index = 0; index < count; ++index) {
        zip_stat_t status;
        if (zip_stat_index(archive_.get(), index, 0, &status) != 0 || status.name == nullptr) {
            throw ArchiveError(zip_strerror(archive_.get()));
        }
        Entry entry{bareName(status.name), index, status.size, std::nullopt};
        if (entry.name.empty()) {
            continue;
        }
        if (const auto utc = utcTime(archive_.get(), index); utc && (status.valid & ZIP_STAT_MTIME) != 0) {
            // The library has read the time of day that stands there as one of this process's zone.
            std::tm local{};
            localtime_r(&status.mtime, &local);
            entry.utcOffsetMinutes = quarterHours(timegm(&local) - *utc);
        }
        entries_.push_back(std::move(entry));
    }
}

const Archive::Entry* Archive::find(std::string_view begin, std::string_view end) const {
    for (const Entry& entry : entries_) {
        if (entry.name.starts_with(begin) && entry.name.ends_with(end)) {
            return &entry;
        }
    }
    return nullptr;
}

void Archive::stream(const Entry& entry, uint64_t most,
                     const std::function<void(std::string_view)>& take) const {
    const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> file(
        zip_fopen_index(archive_.get(), entry.index, 0), zip_fclose);
    if (!file) {
        throw ArchiveError(fmt::format("{}: {}", entry.name, zip_strerror(archive_.get())));
    }
    std::array<char, 1 << 16> piece{};
    uint64_t sum = 0;
    for (;;) {
        const auto count = zip_fread(file.get(), piece.data(), piece.size());
        if (count < 0) {
            throw ArchiveError(fmt::format("{}: {}", entry.name, zip_file_strerror(file.get())));
        }
        if (count == 0) {
            return;
        }
        sum += static_cast<uint64_t>(count);
        if (sum > most) {
            throw ArchiveError(fmt::format("{}: it is larger than {} bytes", entry.name, most));
        }
        take({piece.data(), static_cast<size_t>(count)});
    }
}

std::string Archive::read(const Entry& entry, uint64_t most) const {
    std::string bytes;
    stream(entry, most, [&](std::string_view piece) { bytes += piece; });
    return bytes;
}

std::optional<int> Archive::utcOffsetMinutes() const {
    if (const Entry* const summary = find("orvdga_report", ".json")) {
        const auto json = nlohmann::json::parse(read(*summary, kMostSummary), nullptr, false);
        if (json.is_object() && json.contains("started") && json["started"].is_string()) {
            if (const auto offset = offsetOf(json["started"].get_ref<const std::string&>())) {
                return offset;
            }
        }
    }
    const Entry* const trace = find("orvdga_trace_", ".csv");
    if (trace != nullptr && trace->utcOffsetMinutes) {
        return trace->utcOffsetMinutes;
    }
    for (const Entry& entry : entries_) {
        if (entry.utcOffsetMinutes) {
            return entry.utcOffsetMinutes;
        }
    }
    return std::nullopt;
}

std::string reportNumber(const std::string& path) {
    std::string name = bareName(path);
    if (name.ends_with(".zip")) {
        name.resize(name.size() - 4);
    }
    return name;
}

}  // namespace orvanereport
