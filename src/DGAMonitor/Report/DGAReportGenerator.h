#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "DGAMonitor/Session/DGAReportMaker.h"
#include "reportproblem/DGAScreenshotExtractor.h"
#include "reportproblem/OrvLogCollector.h"

/// Builds the archive of a problem report on the background queue. Any thread may start a run; runs of one
/// generator follow one another, those of several go side by side. A generator that a shared pointer owns
/// lives until its runs have ended; the destructor of any other waits for them.
class DGAReportGenerator : public DGAReportMaker, public std::enable_shared_from_this<DGAReportGenerator> {
public:
    using Paths = std::vector<std::string>;
    using TerminateHandle = std::function<void(int reason)>;

    /// What a run does outside its own process. Each returns when it is done; one that is left empty does
    /// what it says by the real tool.
    struct Tools {
        /// Runs a program; the handle is told 1 if it ended by itself, 2 if a signal ended it.
        std::function<void(const std::string& program, const Paths& args, const TerminateHandle&)> run;
        std::function<void(const std::string& path, const std::string& detailLevel)> systemProfile;
        std::function<void(const std::string& path)> screenshot;
        /// Takes the assistant's own windows off the screen, and puts those back that were there. Around each
        /// screenshot, in pairs; left empty, nothing is done.
        std::function<void()> hideWindows;
        std::function<void()> showWindows;
        /// Writes down what the system has recorded of a client's crash.
        std::function<void(const std::string& processId, const std::string& namePrefix)> crashRecord;
        std::function<std::string()> saveTime;
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

    /// The current local time as it stands in file names, "yyyyMMdd_HHmmss".
    std::string saveTime() const;

private:
    struct Runs;

    // The steps of a run; on the queue's thread, one run at a time.
    void generateReport(const DGAReportOptions& options);
    void generateHVReport();
    void generateKTReport();
    static void generateOrvdgaFolder();
    void recordCrash() const;
    void generateSystemProfile(const std::string& detailLevel);
    void generateScreenshot();
    void fetchHVLogsReportFile();
    void fetchKTLogsReportFile();
    void zipReportFiles(const Paths& args);
    void runZip(const Paths& args, const TerminateHandle& handle) const;
    void removeTempFiles() const;
    void tellDelegate(const std::string& archivePath) const;

    // What goes into the archive.
    Paths fetchFileDestinationPathWithOriginalArr(const Paths& files) const;
    Paths fetchKTFileDestinationPathWithOriginalArr(const Paths& files, const std::string& zipFilename) const;
    Paths allLatestLogs();
    std::optional<Paths> allCrashLogs();
    static Paths spxFile();
    static Paths screenShotPicture();
    static Paths allLogsInFolder(const std::string& folder);
    static Paths allKTAllinOneLogs();

    std::weak_ptr<DGAReportGeneratorDelegate> delegate_;
    DGAScreenshotExtractor screenshotExe_;
    Tools tools_;
    std::shared_ptr<Runs> runs_;

    // Of the run that goes on.
    DGAReportOptions options_;
    std::unique_ptr<OrvLogCollector> logCollector_;
    std::optional<std::string> spxFullPath_;
    std::optional<std::string> screenshotFullPath_;
};
