#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "DGAMonitor/Report/DGAReportCollection.h"
#include "DGAMonitor/Report/DGAReportPacker.h"
#include "DGAMonitor/Session/DGAReportMaker.h"

/// Builds the archive of a problem report on the background queue. Any thread may start a run; runs of one
/// generator follow one another, those of several go side by side. A generator that a shared pointer owns
/// lives until its runs have ended; the destructor of any other waits for them.
class DGAReportGenerator : public DGAReportMaker, public std::enable_shared_from_this<DGAReportGenerator> {
public:
    using Paths = DGAReportCollection::Paths;

    using Tools = DGAReportCollection::Tools;

    DGAReportGenerator();
    explicit DGAReportGenerator(Tools tools);
    ~DGAReportGenerator() override;
    DGAReportGenerator(const DGAReportGenerator&) = delete;
    DGAReportGenerator& operator=(const DGAReportGenerator&) = delete;

    void setDelegate(std::weak_ptr<DGAReportGeneratorDelegate> delegate) override {
        delegate_ = std::move(delegate);
    }

    void startGenerateReportIfScreenShot(const DGAReportOptions& options,
                                         std::function<void()> completion) override;

    /// The same, but only for the first call in the life of the process, on whatever instance; later calls
    /// do nothing and never call their completion.
    virtual void startOnceGenerateReportIfScreenShot(const DGAReportOptions& options,
                                                     std::function<void()> completion);

    /// Whether reports exist for a service type.
    static bool hasReports(int64_t serviceType);

    /// Whether the last run of the process has failed, so that what it was to pack is still needed.
    static bool lastRunFailed();

    /// Ends all runs of the process without an archive; for its end. Waits for a second at most. Any thread.
    static void endAllRuns() { DGAReportPacker::endAll(); }

    /// The current local time as it stands in file names, "yyyyMMdd_HHmmss".
    std::string saveTime() const;

private:
    struct Runs;

    // The steps of a run; on the queue's thread, one run at a time.
    void generateReport(const DGAReportOptions& options) const;
    struct Outcome;
    Outcome makeArchive(const DGAReportOptions& options) const;
    void tellDelegate(const Outcome& outcome) const;

    std::weak_ptr<DGAReportGeneratorDelegate> delegate_;
    Tools tools_;
    std::shared_ptr<Runs> runs_;
};
