#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "DGAMonitor/Report/DGAReportPacker.h"
#include "DGAMonitor/Report/DGAReportSummary.h"
#include "DGAMonitor/Report/DGAReportWorkspace.h"
#include "DGAMonitor/Session/DGAPolicy.h"
#include "DGAMonitor/Session/DGAReportMaker.h"
#include "platform/CoredumpModules.h"
#include "reportproblem/DGAScreenshotExtractor.h"
#include "reportproblem/OrvLogCollector.h"

/// Builds the archive of a problem report on the background queue. Any thread may start a run; runs of one
/// generator follow one another, those of several go side by side. A generator that a shared pointer owns
/// lives until its runs have ended; the destructor of any other waits for them.
class DGAReportGenerator : public DGAReportMaker, public std::enable_shared_from_this<DGAReportGenerator> {
public:
    using Paths = std::vector<std::string>;

    /// What a run does outside its own process. Each returns when it is done; one that is left empty does
    /// what it says by the real tool.
    struct Tools {
        DGAReportPacker::Run run;
        std::function<void(const std::string& path, const std::string& detailLevel)> systemProfile;
        /// Returns why there is no picture, or "".
        std::function<std::string(const std::string& path)> screenshot;
        /// Takes the assistant's own windows off the screen, and puts those back that were there. Around each
        /// screenshot, in pairs; left empty, nothing is done.
        std::function<void()> hideWindows;
        std::function<void()> showWindows;
        /// Writes down what the system has recorded of a client's crash; returns the modules of its stack.
        std::function<std::vector<platform::CoredumpModule>(const std::string& processId,
                                                            const std::string& namePrefix)>
            crashRecord;
        std::function<std::string()> saveTime;
        /// What may go into a report, whoever asks for it; read once for each.
        std::function<DGAPolicy()> policy;
    };

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

    // The steps of a run; on the queue's thread, one run at a time. Those that return a text return why there
    // is no archive, or "".
    void generateReport(const DGAReportOptions& options);
    std::string generateHVReport();
    std::string generateKTReport();
    bool generateOrvdgaFolder();
    void recordCrash();
    void generateSystemProfile(const std::string& detailLevel);
    void generateScreenshot();
    std::string fetchHVLogsReportFile();
    std::string fetchKTLogsReportFile();
    std::string zipReportFiles(ReportSources& sources);
    void packKTLogs(const std::string& folder, const std::string& zipFilename, ReportSources& sources);
    void tellDelegate(const std::string& archivePath, const std::string& fault) const;

    // What goes into the archive.
    std::string archiveNamePrefix() const;
    Paths allCrashLogs();
    void leaveOutForbidden(ReportSources& sources) const;
    void addScreenshot(ReportSources& sources) const;
    void addSystemProfile(ReportSources& sources) const;

    std::weak_ptr<DGAReportGeneratorDelegate> delegate_;
    DGAScreenshotExtractor screenshotExe_;
    Tools tools_;
    std::shared_ptr<Runs> runs_;

    // Of the run that goes on.
    DGAReportOptions options_;
    DGAPolicy policy_;
    bool withCrashLogs_ = false;
    std::unique_ptr<OrvLogCollector> logCollector_;
    std::unique_ptr<DGAReportWorkspace> workspace_;
    std::unique_ptr<DGAReportPacker> packer_;
    DGAReportSummary summary_;
    std::optional<std::string> spxFullPath_;
    std::optional<std::string> screenshotFullPath_;
    std::string screenshotFault_;
};
