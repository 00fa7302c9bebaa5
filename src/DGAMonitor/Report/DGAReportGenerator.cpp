#include "DGAMonitor/Report/DGAReportGenerator.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <utility>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Report/DGASystemProfileExtractor.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "DGAMonitor/Utilities/DGAUtilitiesFiles.h"
#include "DGAMonitor/Utilities/DGAUtilitiesText.h"
#include "DGAMonitor/Utilities/Tool/DGATaskTool.h"
#include "platform/CoredumpRecord.h"
#include "platform/HomePath.h"
#include "platform/PrivateFolder.h"
#include "platform/RunLoop.h"
#include "platform/UserFiles.h"
#include "platform/WorkQueue.h"
#include "reportproblem/OrvLogCollectorConfigurator.h"
#include "reportproblem/OrvLogConstants.h"
#include "support/ORVNLogger.h"

namespace {

using platform::PrivateFolder;

constexpr char kZipProgram[] = "/usr/bin/zip";
constexpr char kZipOptions[] = "-jr";
constexpr char kDetailLevel[] = "basic";
constexpr char kSPXPrefix[] = "orvdga_system_profile";
constexpr char kScreenshotPrefix[] = "orvdga_screenshot_";
constexpr int kEndedByItself = 1;

void append(std::vector<std::string>& list, const std::vector<std::string>& more) {
    list.insert(list.end(), more.begin(), more.end());
}

// The paths that a folder below the user's Library folder gives keep the slash of its name: it is doubled.
std::string libraryFolder(const std::string& folder) {
    return fmt::format("{}/{}", platform::expandTilde("~") + "/Library", folder);
}

std::vector<std::string> firstWithPrefix(const std::string& folderPath, const std::string& prefix) {
    const auto folder = PrivateFolder::open(folderPath, PrivateFolder::Create::no);
    if (!folder)
        return {};
    const auto names = folder->entries();
    const auto found = std::find_if(names.begin(), names.end(),
                                    [&](const std::string& name) { return name.starts_with(prefix); });
    return found == names.end() ? std::vector<std::string>() : std::vector{folderPath + "/" + *found};
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
        tools_.run = [](const std::string& program, const Paths& args, const TerminateHandle& handle) {
            DGATaskTool::dga_runTaskWithCMD(program, args, handle);
        };
    if (!tools_.systemProfile)
        tools_.systemProfile = [](const std::string& path, const std::string& detailLevel) {
            DGASystemProfileExtractor().generateSystemProfiler(path, detailLevel);
        };
    if (!tools_.screenshot)
        tools_.screenshot = [this](const std::string& path) { screenshotExe_.generateScreenshot(path); };
    if (!tools_.crashRecord)
        tools_.crashRecord = [](const std::string& processId, const std::string& namePrefix) {
            platform::writeCoredumpRecord(
                processId, platform::expandTilde("~/Library/Logs/DiagnosticReports"), namePrefix);
        };
    if (!tools_.saveTime)
        tools_.saveTime = [] { return dga_transformToCurrentDateString(kDGAZipLogDateFormat); };
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

void DGAReportGenerator::generateReport(const DGAReportOptions& options) {
    options_ = options;
    if (options_.serviceType == kDGAServiceTypeHV)
        generateHVReport();
    else
        generateKTReport();
}

void DGAReportGenerator::generateHVReport() {
    ORVN_LOG_METHOD();
    generateOrvdgaFolder();
    recordCrash();
    if (options_.systemInfo)
        generateSystemProfile(kDetailLevel);
    if (options_.screenShot) {
        screenshotFullPath_ = fmt::format("{}/{}{}.png", kDGATempStorePath, kScreenshotPrefix, saveTime());
        generateScreenshot();
    }
    fetchHVLogsReportFile();
}

void DGAReportGenerator::generateKTReport() {
    ORVN_LOG_METHOD();
    generateOrvdgaFolder();
    recordCrash();
    if (options_.systemInfo)
        generateSystemProfile(kDetailLevel);
    fetchKTLogsReportFile();
}

void DGAReportGenerator::generateOrvdgaFolder() {
    PrivateFolder::open(kDGATempStorePath, PrivateFolder::Create::yes);
}

// A client that has said goodbye has not crashed.
void DGAReportGenerator::recordCrash() const {
    const DGASessionRecord& record = DGASessionRecord::sharedRecord();
    const auto processId = record.pID.get();
    if (!options_.crashLog || !processId || record.clientHasQuit)
        return;
    const bool isHV = options_.serviceType == kDGAServiceTypeHV;
    tools_.crashRecord(*processId, isHV ? std::string(OrvMeetingCrashLogPrefix) + "_" : kDGAKTCrashLogPrefix);
}

void DGAReportGenerator::generateSystemProfile(const std::string& detailLevel) {
    spxFullPath_ = fmt::format("{}/{}", DGACSVFileTool::shareFileTool().dirFilePath(), kDGASPXFileName);
    tools_.systemProfile(*spxFullPath_, detailLevel);
}

void DGAReportGenerator::generateScreenshot() {
    ORVN_LOG_METHOD();
    if (tools_.hideWindows)
        tools_.hideWindows();
    tools_.screenshot(*screenshotFullPath_);
    if (tools_.showWindows)
        tools_.showWindows();
}

void DGAReportGenerator::fetchHVLogsReportFile() {
    Paths files = allLatestLogs();
    if (options_.crashLog) {
        logInfo("fetchFileDestinationPathWithOriginalArr crash");
        append(files, allCrashLogs().value_or(Paths()));
    } else {
        logInfo("fetchFileDestinationPathWithOriginalArr normal");
    }
    zipReportFiles(fetchFileDestinationPathWithOriginalArr(files));
}

void DGAReportGenerator::zipReportFiles(const Paths& args) {
    ORVN_LOG_METHOD();
    runZip(args, [&](int reason) {
        if (reason != kEndedByItself)
            return;
        removeTempFiles();
        tellDelegate(args[1]);
    });
}

void DGAReportGenerator::fetchKTLogsReportFile() {
    ORVN_LOG_METHOD();
    const auto nothing = [](int /*reason*/) {};
    runZip(fetchKTFileDestinationPathWithOriginalArr(allLogsInFolder(kDGAKTStorePath), kDGAKTZipLogFile),
           nothing);
    runZip(fetchKTFileDestinationPathWithOriginalArr(allLogsInFolder(kDGAKTPluginStorePath),
                                                     kDGAKTPluginZipLogFile),
           nothing);

    Paths files = allKTAllinOneLogs();
    if (options_.systemInfo)
        append(files, spxFile());
    append(files, allCrashLogs().value_or(Paths()));
    const Paths args = fetchKTFileDestinationPathWithOriginalArr(files, kDGAKTAllinOneZipLogFile);
    runZip(args, [&](int reason) {
        if (reason != kEndedByItself)
            return;
        removeTempFiles();
        const Paths parts = allKTAllinOneLogs();
        DGAUtilities::dga_removeFileAtPath(parts[0]);
        DGAUtilities::dga_removeFileAtPath(parts[1]);
        tellDelegate(args[1]);
    });
}

void DGAReportGenerator::runZip(const Paths& args, const TerminateHandle& handle) const {
    tools_.run(kZipProgram, args, handle);
}

void DGAReportGenerator::removeTempFiles() const {
    ORVN_LOG_METHOD();
    if (spxFullPath_)
        DGAUtilities::dga_removeFileAtPath(*spxFullPath_);
    if (screenshotFullPath_)
        DGAUtilities::dga_removeFileAtPath(*screenshotFullPath_);
}

void DGAReportGenerator::tellDelegate(const std::string& archivePath) const {
    platform::performOnMain([weak = delegate_, archivePath] {
        if (const auto delegate = weak.lock())
            delegate->reportFileGeneratedAt(archivePath);
    });
}

// The ids come from outside; without "/" and "." they cannot lead out of the folder.
DGAReportGenerator::Paths DGAReportGenerator::fetchFileDestinationPathWithOriginalArr(
    const Paths& files) const {
    const DGASessionRecord& record = DGASessionRecord::sharedRecord();
    const std::string name = fmt::format("{}_{}_{}", support::orNull(record.confID.get()),
                                         support::orNull(record.userID.get()), saveTime());
    Paths args = {kZipOptions, fmt::format("{}/{}", kDGATempStorePath,
                                           DGAUtilities::dga_stringWithoutForbiddenSymbolFrom(name))};
    append(args, files);
    if (options_.screenShot)
        append(args, screenShotPicture());
    if (options_.systemInfo)
        append(args, spxFile());
    return args;
}

DGAReportGenerator::Paths DGAReportGenerator::fetchKTFileDestinationPathWithOriginalArr(
    const Paths& files, const std::string& zipFilename) const {
    Paths args = {kZipOptions, zipFilename == kDGAKTAllinOneZipLogFile
                                   ? fmt::format("{}/{}_{}", kDGATempStorePath, zipFilename, saveTime())
                                   : fmt::format("{}/{}", kDGATempStorePath, zipFilename)};
    append(args, files);
    return args;
}

DGAReportGenerator::Paths DGAReportGenerator::allLatestLogs() {
    const DGACSVFileTool& trace = DGACSVFileTool::shareFileTool();
    logCollector_->traceFiles = {trace.orvdgaTopicFilePath(), trace.orvdgaCSVFilePath()};
    return logCollector_->allLatestLogs();
}

std::optional<DGAReportGenerator::Paths> DGAReportGenerator::allCrashLogs() {
    if (options_.serviceType == kDGAServiceTypeHV)
        return logCollector_->allCrashLogs();
    if (options_.serviceType != kDGAServiceTypeKT)
        return std::nullopt;
    const std::string folder = libraryFolder(kDGAKTCrashStorePath);
    Paths reports;
    for (const auto& name : platform::namesInUserFolder(folder)) {
        if (name.starts_with(kDGAKTCrashLogPrefix))
            reports.push_back(fmt::format("{}/{}", folder, name));
    }
    return reports;
}

DGAReportGenerator::Paths DGAReportGenerator::spxFile() {
    return firstWithPrefix(DGACSVFileTool::shareFileTool().dirFilePath(), kSPXPrefix);
}

DGAReportGenerator::Paths DGAReportGenerator::screenShotPicture() {
    return firstWithPrefix(kDGATempStorePath, kScreenshotPrefix);
}

DGAReportGenerator::Paths DGAReportGenerator::allLogsInFolder(const std::string& folder) {
    const std::string path = libraryFolder(folder);
    Paths logs = platform::namesInUserFolder(path);
    for (auto& log : logs)
        log = fmt::format("{}/{}", path, log);
    return logs;
}

DGAReportGenerator::Paths DGAReportGenerator::allKTAllinOneLogs() {
    return OrvLogCollector::listUntilMissing(
        {fmt::format("{}/{}.zip", kDGATempStorePath, kDGAKTZipLogFile),
         fmt::format("{}/{}.zip", kDGATempStorePath, kDGAKTPluginZipLogFile),
         ORVNLogger::sharedLogger().logFileName(), DGACSVFileTool::shareFileTool().orvdgaCSVFilePath()});
}
