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
#include "reportproblem/OrvLogCollector.h"

/// The files of one report, found once: what is listed for the user is what is packed. Packing reads their
/// contents; only the summary, a crash report and what was asked for later join then. Any thread; the
/// calls return when they are done, and but for contents() wait for one another.
class DGAReportCollection {
public:
    using Paths = std::vector<std::string>;

    /// What it does outside its own process. One that is left empty does what it says by the real tool.
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
        /// The collection that was listed under a number; none if it is not there any more.
        std::function<std::shared_ptr<DGAReportCollection>(int64_t listing)> listed;
    };
    /// With nothing left empty.
    static Tools realTools(Tools tools);

    /// Takes the report's number and finds its files, which takes milliseconds. Null if the folder of reports
    /// cannot be used. The tools are realTools().
    static std::shared_ptr<DGAReportCollection> open(const DGAReportOptions& options, const Tools& tools);

    const std::string& number() const { return number_; }

    /// Makes what is asked for, not forbidden and not there yet: the system profile, the picture. They take
    /// seconds.
    void complete(const DGAReportOptions& options);

    /// Whether there is no picture though one was asked for and tried.
    bool lacksPicture(const DGAReportOptions& asked) const;

    /// Takes another picture in place of the one that is there.
    void retakePicture();

    /// What would be packed with these options.
    DGAReportContents contents(const DGAReportOptions& options) const;

    /// Packs what complete() has left. Why there is no archive, or "". It may be tried again.
    std::string pack(const DGAReportOptions& options);

    /// Puts the archive into the folder of reports; its path without ".zip". The collection is used up then.
    std::optional<std::string> publish();
    bool isUsedUp() const { return workspace_ == nullptr; }

private:
    // The logs of one folder, which go into an archive of their own inside the archive.
    struct Nested {
        std::string archive;  // without ".zip"
        ReportSources logs;
    };

    explicit DGAReportCollection(const Tools& tools);
    DGAReportOptions allowed(DGAReportOptions options) const;
    bool asksForCrashLogs(const DGAReportOptions& options) const;
    bool wantsCrashLogs(const DGAReportOptions& options) const;
    void leaveOutForbidden(const DGAReportOptions& options, ReportSources& sources) const;
    void findMeetingFiles();
    void findToolsFiles();
    void findCrashLogs(const DGAReportOptions& options, DGAReportSummary& summary);
    Paths crashLogs();
    void takePicture();
    void packNested(const DGAReportOptions& options, ReportSources& sources, DGAReportSummary& summary);
    void addMade(const DGAReportOptions& options, ReportSources& sources) const;
    std::string picturePath() const;
    std::string profilePath() const;

    Tools tools_;
    std::mutex oneAtATime_;
    mutable std::mutex mutex_;  // of what contents() reads
    int64_t serviceType_ = 0;
    std::string number_;
    DGAPolicy policy_;
    std::unique_ptr<DGAReportWorkspace> workspace_;
    std::unique_ptr<OrvLogCollector> logCollector_;
    ReportSources sources_;
    std::vector<Nested> nested_;
    std::string pictureName_;  // "" until one was asked for
    std::string pictureFault_;
    bool hasProfile_ = false;
};
