#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// What kind of problem a report is about.
struct DGAReportCategory {
    int64_t number = 0;
    std::string name;  ///< in English

    bool operator==(const DGAReportCategory&) const = default;
};

/// What goes into a report beside the logs, and which service's report it is.
struct DGAReportOptions {
    bool screenShot = false;
    bool systemInfo = false;
    bool crashLog = false;
    int64_t serviceType = 0;
    // What the user says; it goes into the report's summary. None of a report that nobody has asked for.
    std::string description = {};
    std::optional<DGAReportCategory> category = {};
    int64_t listing = 0;  ///< the listing whose files they are (DGAWindowServices); 0 for none
    std::vector<std::string> without = {};  ///< names of that listing that the user does not want to send
    std::string kept = {};                  ///< the number of a kept report, which is taken as it is

    bool operator==(const DGAReportOptions&) const = default;
};

/// A file that would go into a report.
struct DGAReportContent {
    std::string name;  ///< in the archive; of one in a nested archive "OrvaneAppLog.zip/name"
    std::string kind;  ///< a ReportFileKind, or kDGAReportSummaryKind
    uint64_t size = 0;
    std::string path;  ///< where it lies now
};
inline constexpr char kDGAReportSummaryKind[] = "summary";

/// What a report would hold.
struct DGAReportContents {
    std::vector<DGAReportContent> files;
    bool isComplete = false;   ///< nothing is being made for it any more
    std::string picture;       ///< the path of the screen's picture; "" while there is none
    std::string pictureFault;  ///< why there is none though it was asked for; for the log, in English
};

/// Told how a run has ended: by one of the two calls, once. Main thread.
class DGAReportGeneratorDelegate {
public:
    virtual ~DGAReportGeneratorDelegate() = default;
    /// Before the next call: the screen was to be captured, and could not be.
    virtual void reportHasNoPicture() {}
    /// The archive is whole. Its path without its ".zip" ending.
    virtual void reportFileGeneratedAt(const std::string& path) = 0;
    /// There is no archive. `reason` is for the log, in English; the logs and the trace that were to go into
    /// it are still there, so that another run may succeed.
    virtual void reportFailed(const std::string& /*reason*/) {}
};

/// Makes reports, for those who need not know how: the windows.
class DGAReportMaker {
public:
    virtual ~DGAReportMaker() = default;

    /// Before the first run. A delegate that is gone is not told.
    virtual void setDelegate(std::weak_ptr<DGAReportGeneratorDelegate> delegate) = 0;

    /// Starts a run and returns at once. `completion`, which may be empty, is called on another thread when
    /// the run has ended, with an archive or without. A service type that has no reports starts nothing and
    /// never calls it.
    virtual void startGenerateReportIfScreenShot(const DGAReportOptions& options,
                                                 std::function<void()> completion) = 0;
};
