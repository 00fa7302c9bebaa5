#pragma once

#include <zip.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orvanereport {

/// Why an archive, or something in it, cannot be read.
struct ArchiveError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A report as it came: a zip file that nobody has checked. Reads entries within limits; what is damaged or
/// larger throws ArchiveError.
class Archive {
public:
    struct Entry {
        std::string name;  ///< without folders
        uint64_t index = 0;
        uint64_t size = 0;  ///< as the archive claims
        /// The difference between the time of day where it was packed and UTC, if the archive tells both.
        std::optional<int> utcOffsetMinutes;
    };

    static constexpr uint64_t kMostEntries = 10000;

    explicit Archive(const std::string& path);

    const std::vector<Entry>& entries() const { return entries_; }

    /// The first entry whose name begins and ends so; null when there is none.
    const Entry* find(std::string_view begin, std::string_view end) const;

    /// An entry's bytes, at most `most` of them.
    std::string read(const Entry& entry, uint64_t most) const;

    /// Hands an entry's bytes on in pieces, at most `most` in all.
    void stream(const Entry& entry, uint64_t most, const std::function<void(std::string_view)>& take) const;

    /// Where the report was made, in minutes east of UTC: what the summary says, or else what the packed
    /// files' times say; nothing when neither does.
    std::optional<int> utcOffsetMinutes() const;

private:
    struct Closer {
        void operator()(zip_t* archive) const { zip_discard(archive); }
    };
    std::unique_ptr<zip_t, Closer> archive_;
    std::vector<Entry> entries_;
};

/// The number that a report goes by: its archive's name without folder and ".zip".
std::string reportNumber(const std::string& path);

}  // namespace orvanereport
