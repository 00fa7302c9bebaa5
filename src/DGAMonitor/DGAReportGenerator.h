#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

/// Told about a finished report.
class DGAReportGeneratorDelegate {
public:
    virtual ~DGAReportGeneratorDelegate() = default;

    /// The archive's path without its ".zip" ending. Main thread.
    virtual void reportFileGeneratedAt(const std::string& path) = 0;
};

/// Builds the archive of a problem report on the background queue. Any thread may start a run.
class DGAReportGenerator {
public:
    DGAReportGenerator() = default;
    virtual ~DGAReportGenerator() = default;
    DGAReportGenerator(const DGAReportGenerator&) = delete;
    DGAReportGenerator& operator=(const DGAReportGenerator&) = delete;

    /// Before the first run. A delegate that is gone is not told.
    void setDelegate(std::weak_ptr<DGAReportGeneratorDelegate> delegate) { delegate_ = std::move(delegate); }

    /// Starts a run and returns at once. `completion`, which may be empty, is called on the queue's thread
    /// when the run has ended. A service type that has no reports starts nothing and never calls it.
    virtual void startGenerateReportIfScreenShot(bool screenShot, bool ifSystemInfo, bool ifCrashLog,
                                                 int64_t serviceType, std::function<void()> completion);

    /// The same, but only for the first call in the life of the process, on whatever instance; later calls
    /// do nothing and never call their completion.
    virtual void startOnceGenerateReportIfScreenShot(bool screenShot, bool ifSystemInfo, bool ifCrashLog,
                                                     int64_t serviceType, std::function<void()> completion);

    /// Whether reports exist for a service type.
    static bool hasReports(int64_t serviceType);

private:
    struct Request {
        bool screenShot = false;
        bool systemInfo = false;
        bool crashLog = false;
        int64_t serviceType = 0;
    };

    std::weak_ptr<DGAReportGeneratorDelegate> delegate_;
    Request request_;
};
