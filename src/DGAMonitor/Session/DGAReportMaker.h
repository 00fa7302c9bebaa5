#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

/// What goes into a report beside the logs, and which service's report it is.
struct DGAReportOptions {
    bool screenShot = false;
    bool systemInfo = false;
    bool crashLog = false;
    int64_t serviceType = 0;

    bool operator==(const DGAReportOptions&) const = default;
};

/// Told about a finished report.
class DGAReportGeneratorDelegate {
public:
    virtual ~DGAReportGeneratorDelegate() = default;
    /// The archive's path without its ".zip" ending. Main thread.
    virtual void reportFileGeneratedAt(const std::string& path) = 0;
};

/// Makes reports, for those who need not know how: the windows.
class DGAReportMaker {
public:
    virtual ~DGAReportMaker() = default;

    /// Before the first run. A delegate that is gone is not told.
    virtual void setDelegate(std::weak_ptr<DGAReportGeneratorDelegate> delegate) = 0;

    /// Starts a run and returns at once. `completion`, which may be empty, is called on another thread when
    /// the run has ended. A service type that has no reports starts nothing and never calls it.
    virtual void startGenerateReportIfScreenShot(const DGAReportOptions& options,
                                                 std::function<void()> completion) = 0;
};
