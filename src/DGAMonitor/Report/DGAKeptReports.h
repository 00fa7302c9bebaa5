#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "DGAMonitor/Session/DGAPolicy.h"

namespace platform {
class SerialQueue;
}

/// Reports that were neither sent nor saved nor discarded: $XDG_STATE_HOME/orvanedga/reports (else below
/// ~/.local/state), a folder of the user alone. Each is an archive <number>.zip and its <number>.json. At
/// most ten and 500 MB are kept, for 30 days, or less where the policy says so; the oldest go first. Any
/// thread, one call at a time.
class DGAKeptReports {
public:
    struct Report {
        std::string number;  ///< the archive's name without ".zip"
        std::string description;
        int64_t category = 0;
        int64_t serviceType = 0;
        std::string time;   ///< when it was first kept, ISO 8601 with offset; keep() sets it where it is ""
        std::string state;  ///< why: "failed" or "cancelled", and a reason
        bool announced = false;  ///< the user was reminded of it
    };

    /// `folder` and `policy` only in tests.
    explicit DGAKeptReports(std::string folder = {}, DGAPolicy policy = DGAPolicy::current());

    /// Whether there is anything at all, without a look at it.
    bool hasAny() const;

    /// Removes what is too old or too much.
    void tidy() const;

    /// Keeps a copy of the archive, in place of one of the same number, and removes what is too much then.
    /// False, with a line of level 8, if it cannot or may not.
    bool keep(const std::string& archivePath, Report report) const;

    /// What is kept, the oldest first. What cannot be read is passed over.
    std::vector<Report> reports() const;

    /// The full path of a kept archive.
    std::string archivePath(const std::string& number) const;

    /// The same without its ".zip", if there is one of that number.
    std::optional<std::string> pathOf(const std::string& number) const;

    /// Ends one that was sent, saved or discarded; nothing if there is none of that number.
    void remove(const std::string& number) const;

    /// The same for one that the user has discarded, which the client is told.
    void discard(const std::string& number) const;

    /// The user is not reminded of it again.
    void markAnnounced(const std::string& number) const;

    static std::string numberOf(const std::string& archivePath);

    /// Where they are kept and removed, in order: both wait for the disk. What is queued is done before the
    /// assistant ends.
    static platform::SerialQueue& queue();

private:
    void removeExcess() const;

    std::string folder_;
    DGAPolicy policy_;
};
