#include "DGAMonitor/Report/DGAReportGenerator.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <iterator>
#include <utility>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Report/DGASystemProfileExtractor.h"
#include "DGAMonitor/Session/DGAReportResults.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "DGAMonitor/Utilities/DGAUtilitiesFiles.h"
#include "DGAMonitor/Utilities/DGAUtilitiesText.h"
#include "platform/CoredumpRecord.h"
#include "platform/HomePath.h"
#include "platform/RunLoop.h"
#include "platform/UserFiles.h"
#include "platform/WorkQueue.h"
#include "reportproblem/OrvLogCollectorConfigurator.h"
#include "reportproblem/OrvLogConstants.h"
#include "support/ORVNLogger.h"

namespace {

constexpr char kDetailLevel[] = "basic";
constexpr char kScreenshotPrefix[] = "orvdga_screenshot_";
// Of an id in an archive's name, in bytes.
constexpr size_t kLongestId = 64;

std::atomic<bool> theLastRunFailed{false};

// The paths that a folder below the user's Library folder gives keep the slash of its name: it is doubled.
std::string libraryFolder(const std::string& folder) {
    return fmt::format("{}/{}", platform::expandTilde("~") + "/Library", folder);
}

std::string idInName(const std::optional<std::string>& id) {
    const std::string name =
        DGAUtilities::dga_stringWithoutForbiddenSymbolFrom(std::string(support::orNull(id)));
    return DGAUtilities::beginningOf(name, kLongestId);
}

}  // namespace

// Outlives the generator, so that a run can end after it.
struct DGAReportGenerator::Runs {
    std::mutex oneAtATime;
    std::mutex mutex;
    std::condition_variable changed;
    int open = 0;

    void begin() {
        const std::lock_guard<std::mutex> hold(mutex);
        ++open;
    }
    void end() {
        const std::lock_guard<std::mutex> hold(mutex);
        --open;
        changed.notify_all();
    }
    void waitForAll() {
        std::unique_lock<std::mutex> hold(mutex);
        changed.wait(hold, [this] { return open == 0; });
    }
};

DGAReportGenerator::DGAReportGenerator() : DGAReportGenerator(Tools()) {}

DGAReportGenerator::DGAReportGenerator(Tools tools)
    : tools_(std::move(tools)),
      runs_(std::make_shared<Runs>()),
      logCollector_(OrvLogCollectorConfigurator::orvLogCollector()) {
    if (!tools_.run)
        tools_.run = [](const platform::Task& task) { return platform::runTask(task); };
    if (!tools_.systemProfile)
        tools_.systemProfile = [](const std::string& path, const std::string& detailLevel) {
            DGASystemProfileExtractor().generateSystemProfiler(path, detailLevel);
        };
    if (!tools_.screenshot)
        tools_.screenshot = [this](const std::string& path) {
            return screenshotExe_.generateScreenshot(path);
        };
    if (!tools_.crashRecord)
        tools_.crashRecord = [](const std::string& processId, const std::string& namePrefix) {
            return platform::writeCoredumpRecord(
                processId, platform::expandTilde("~/Library/Logs/DiagnosticReports"), namePrefix);
        };
    if (!tools_.saveTime)
        tools_.saveTime = [] { return dga_transformToCurrentDateString(kDGAZipLogDateFormat); };
    if (!tools_.policy)
        tools_.policy = &DGAPolicy::current;
}

DGAReportGenerator::~DGAReportGenerator() {
    runs_->waitForAll();
}

bool DGAReportGenerator::hasReports(int64_t serviceType) {
    return serviceType == kDGAServiceTypeHV || serviceType == kDGAServiceTypeKT;
}

void DGAReportGenerator::startGenerateReportIfScreenShot(const DGAReportOptions& options,
                                                         std::function<void()> completion) {
    ORVN_LOG_METHOD();
    if (!hasReports(options.serviceType))
        return;
    runs_->begin();
    platform::BackgroundQueue::global().async(
        [this, options, owner = weak_from_this().lock(), runs = runs_, completion = std::move(completion)] {
            {
                const std::lock_guard<std::mutex> hold(runs->oneAtATime);
                generateReport(options);
            }
            runs->end();
            if (completion)
                completion();
        });
}

void DGAReportGenerator::startOnceGenerateReportIfScreenShot(const DGAReportOptions& options,
                                                             std::function<void()> completion) {
    static std::atomic<bool> started{false};
    if (!started.exchange(true))
        startGenerateReportIfScreenShot(options, std::move(completion));
}

std::string DGAReportGenerator::saveTime() const {
    return tools_.saveTime();
}

bool DGAReportGenerator::lastRunFailed() {
    return theLastRunFailed;
}

void DGAReportGenerator::generateReport(const DGAReportOptions& options) {
    options_ = options;
    policy_ = tools_.policy();
    // Whoever asks: what a crash has left is the reason for the report.
    const bool isWanted =
        options.crashLog || DGASessionRecord::sharedRecord().events.contains(DGASessionEventKind::crash);
    withCrashLogs_ = isWanted && policy_.allows(DGAPolicyKey::crashReports);
    summary_ = {};
    screenshotFullPath_.reset();
    spxFullPath_.reset();
    std::string fault = "the folder of reports cannot be used";
    std::optional<std::string> archive;
    std::string number;
    if (generateOrvdgaFolder()) {
        number = workspace_->number();
        fault = options_.serviceType == kDGAServiceTypeHV ? generateHVReport() : generateKTReport();
        archive = fault.empty() ? workspace_->publish() : std::nullopt;
        if (fault.empty() && !archive)
            fault = "the archive cannot be put into its place";
    }
    packer_.reset();
    workspace_.reset();
    if (!fault.empty())
        logWarning("there is no report: {}", fault);
    theLastRunFailed = !fault.empty();
    DGAReportResults::sharedResults().tell(
        {number, fault.empty() ? DGAReportState::kMade : DGAReportState::kFailed, fault});
    tellDelegate(archive.value_or(""), fault);
}

std::string DGAReportGenerator::generateHVReport() {
    ORVN_LOG_METHOD();
    recordCrash();
    if (options_.systemInfo && policy_.allows(DGAPolicyKey::systemProfile))
        generateSystemProfile(kDetailLevel);
    if (options_.screenShot && policy_.allows(DGAPolicyKey::screenCapture)) {
        screenshotFullPath_ = workspace_->pathOf(fmt::format("{}{}.png", kScreenshotPrefix, saveTime()));
        generateScreenshot();
    }
    return fetchHVLogsReportFile();
}

std::string DGAReportGenerator::generateKTReport() {
    ORVN_LOG_METHOD();
    recordCrash();
    if (options_.systemInfo && policy_.allows(DGAPolicyKey::systemProfile))
        generateSystemProfile(kDetailLevel);
    return fetchKTLogsReportFile();
}

bool DGAReportGenerator::generateOrvdgaFolder() {
    workspace_ = DGAReportWorkspace::open(archiveNamePrefix(), saveTime());
    if (workspace_)
        packer_ = std::make_unique<DGAReportPacker>(*workspace_, tools_.run);
    return workspace_ != nullptr;
}

// A client that has said goodbye has not crashed.
void DGAReportGenerator::recordCrash() {
    const DGASessionRecord& record = DGASessionRecord::sharedRecord();
    const auto processId = record.pID.get();
    if (!withCrashLogs_ || !processId || record.clientHasQuit)
        return;
    const bool isHV = options_.serviceType == kDGAServiceTypeHV;
    summary_.modules = tools_.crashRecord(
        *processId, isHV ? std::string(OrvMeetingCrashLogPrefix) + "_" : kDGAKTCrashLogPrefix);
}

void DGAReportGenerator::generateSystemProfile(const std::string& detailLevel) {
    spxFullPath_ = workspace_->pathOf(kDGASPXFileName);
    tools_.systemProfile(*spxFullPath_, detailLevel);
}

void DGAReportGenerator::generateScreenshot() {
    ORVN_LOG_METHOD();
    if (tools_.hideWindows)
        tools_.hideWindows();
    screenshotFault_ = tools_.screenshot(*screenshotFullPath_);
    if (tools_.showWindows)
        tools_.showWindows();
}

std::string DGAReportGenerator::fetchHVLogsReportFile() {
    namespace Kind = ReportFileKind;
    static constexpr const char* kKinds[] = {Kind::kMeetingLog, Kind::kPluginLog,  Kind::kPluginLog,
                                             Kind::kAppletLog,  Kind::kParameters, Kind::kAssistantLog,
                                             Kind::kTopic,      Kind::kTrace};
    const DGACSVFileTool& trace = DGACSVFileTool::shareFileTool();
    logCollector_->traceFiles = {trace.orvdgaTopicFilePath(), trace.orvdgaCSVFilePath()};
    ReportSources sources(kDGAReportSummaryName);
    const Paths logs = logCollector_->allLatestLogs();
    for (size_t i = 0; i < logs.size() && i < std::size(kKinds); ++i)
        sources.add(logs[i], kKinds[i]);
    logInfo("fetchFileDestinationPathWithOriginalArr {}", withCrashLogs_ ? "crash" : "normal");
    if (withCrashLogs_) {
        for (const auto& report : allCrashLogs())
            sources.add(report, Kind::kCrashReport);
    }
    addScreenshot(sources);
    addSystemProfile(sources);
    return zipReportFiles(sources);
}

std::string DGAReportGenerator::fetchKTLogsReportFile() {
    ORVN_LOG_METHOD();
    namespace Kind = ReportFileKind;
    ReportSources sources(kDGAReportSummaryName);
    packKTLogs(kDGAKTStorePath, kDGAKTZipLogFile, sources);
    packKTLogs(kDGAKTPluginStorePath, kDGAKTPluginZipLogFile, sources);
    sources.add(ORVNLogger::sharedLogger().logFileName().value_or(""), Kind::kAssistantLog);
    sources.add(DGACSVFileTool::shareFileTool().orvdgaCSVFilePath(), Kind::kTrace);
    addSystemProfile(sources);
    if (policy_.allows(DGAPolicyKey::crashReports)) {
        for (const auto& report : allCrashLogs())
            sources.add(report, Kind::kCrashReport);
    }
    return zipReportFiles(sources);
}

// An archive inside the archive, where there is something to put into it.
void DGAReportGenerator::packKTLogs(const std::string& folder, const std::string& zipFilename,
                                    ReportSources& sources) {
    ReportSources logs;
    logs.add(libraryFolder(folder), ReportFileKind::kToolsLog);
    const std::string archive = zipFilename + ".zip";
    std::string fault;
    if (!logs.files.empty())
        fault = packer_->pack(zipFilename, logs);
    for (auto& file : logs.leftOut)
        summary_.leftOut.push_back({archive + "/" + file.name, file.reason});
    if (!fault.empty())
        sources.leaveOut(archive, fault);
    if (!fault.empty() || logs.files.empty())
        return;
    sources.add(workspace_->pathOf(archive), ReportFileKind::kArchive);
    for (auto& file : logs.files) {
        file.name = archive + "/" + file.name;
        summary_.files.push_back(std::move(file));
    }
}

std::string DGAReportGenerator::zipReportFiles(ReportSources& sources) {
    ORVN_LOG_METHOD();
    leaveOutForbidden(sources);
    const std::string& number = workspace_->number();
    std::string fault = packer_->pack(number, sources);
    if (!fault.empty())
        return fault;
    summary_.number = number;
    summary_.options = options_;
    summary_.policy = policy_;
    summary_.packed = std::chrono::system_clock::now();
    summary_.files.insert(summary_.files.begin(), sources.files.begin(), sources.files.end());
    summary_.leftOut.insert(summary_.leftOut.begin(), sources.leftOut.begin(), sources.leftOut.end());
    if (!workspace_->write(kDGAReportSummaryName, summary_.json(DGASessionRecord::sharedRecord())))
        return "its summary cannot be written";
    return packer_->addFile(number, kDGAReportSummaryName);
}

void DGAReportGenerator::tellDelegate(const std::string& archivePath, const std::string& fault) const {
    platform::performOnMain([weak = delegate_, archivePath, fault] {
        const auto delegate = weak.lock();
        if (delegate && fault.empty())
            delegate->reportFileGeneratedAt(archivePath);
        else if (delegate)
            delegate->reportFailed(fault);
    });
}

// The ids come from outside; without "/" and "." they cannot lead out of the folder.
std::string DGAReportGenerator::archiveNamePrefix() const {
    if (options_.serviceType == kDGAServiceTypeKT)
        return kDGAKTRunPrefix;
    const DGASessionRecord& record = DGASessionRecord::sharedRecord();
    return fmt::format("{}_{}_", idInName(record.confID.get()), idInName(record.userID.get()));
}

DGAReportGenerator::Paths DGAReportGenerator::allCrashLogs() {
    if (options_.serviceType == kDGAServiceTypeHV)
        return logCollector_->allCrashLogs();
    const std::string folder = libraryFolder(kDGAKTCrashStorePath);
    Paths reports;
    for (const auto& name : platform::namesInUserFolder(folder)) {
        if (name.starts_with(kDGAKTCrashLogPrefix))
            reports.push_back(fmt::format("{}/{}", folder, name));
    }
    return reports;
}

// What was asked for and is not there without anything having failed.
void DGAReportGenerator::leaveOutForbidden(ReportSources& sources) const {
    const auto leaveOut = [&](bool asked, DGAPolicyKey key, const char* kind) {
        if (asked && !policy_.allows(key))
            sources.leaveOut(kind, "the administrator's policy forbids it");
    };
    const bool isHV = options_.serviceType == kDGAServiceTypeHV;
    leaveOut(options_.screenShot && isHV, DGAPolicyKey::screenCapture, ReportFileKind::kScreenshot);
    leaveOut(options_.systemInfo, DGAPolicyKey::systemProfile, ReportFileKind::kSystemProfile);
    leaveOut(options_.crashLog, DGAPolicyKey::crashReports, ReportFileKind::kCrashReport);
}

void DGAReportGenerator::addScreenshot(ReportSources& sources) const {
    if (!screenshotFullPath_)
        return;
    const size_t before = sources.files.size();
    sources.add(*screenshotFullPath_, ReportFileKind::kScreenshot);
    if (sources.files.size() == before)
        sources.leaveOut(*screenshotFullPath_,
                         screenshotFault_.empty() ? "there is no picture" : screenshotFault_);
}

void DGAReportGenerator::addSystemProfile(ReportSources& sources) const {
    if (!spxFullPath_)
        return;
    const size_t before = sources.files.size();
    sources.add(*spxFullPath_, ReportFileKind::kSystemProfile);
    if (sources.files.size() == before)
        sources.leaveOut(*spxFullPath_, "the profile could not be made");
}
