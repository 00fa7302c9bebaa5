#include "DGAMonitor/Report/DGAReportCollection.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Report/DGASystemProfileExtractor.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "DGAMonitor/Utilities/DGAUtilitiesText.h"
#include "platform/CoredumpRecord.h"
#include "platform/HomePath.h"
#include "platform/UserFiles.h"
#include "reportproblem/DGAScreenshotExtractor.h"
#include "reportproblem/OrvLogCollectorConfigurator.h"
#include "reportproblem/OrvLogConstants.h"
#include "support/ORVNLogger.h"

namespace {

constexpr char kDetailLevel[] = "basic";
constexpr char kScreenshotPrefix[] = "orvdga_screenshot_";
constexpr char kLeftOutByUser[] = "the user left it out";
// Of an id in an archive's name, in bytes.
constexpr size_t kLongestId = 64;

namespace Kind = ReportFileKind;

// The paths that a folder below the user's Library folder gives keep the slash of its name: it is doubled.
std::string libraryFolder(const std::string& folder) {
    return fmt::format("{}/{}", platform::expandTilde("~") + "/Library", folder);
}

std::string idInName(const std::optional<std::string>& id) {
    const std::string name =
        DGAUtilities::dga_stringWithoutForbiddenSymbolFrom(std::string(support::orNull(id)));
    return DGAUtilities::beginningOf(name, kLongestId);
}

// The ids come from outside; without "/" and "." they cannot lead out of the folder.
std::string archiveNamePrefix(int64_t serviceType) {
    if (serviceType == kDGAServiceTypeKT)
        return kDGAKTRunPrefix;
    const DGASessionRecord& record = DGASessionRecord::sharedRecord();
    return fmt::format("{}_{}_", idInName(record.confID.get()), idInName(record.userID.get()));
}

bool isLeftOut(const DGAReportOptions& options, const std::string& name) {
    return std::find(options.without.begin(), options.without.end(), name) != options.without.end();
}

void leaveOutByUser(const DGAReportOptions& options, const std::string& prefix, ReportSources& sources) {
    std::erase_if(sources.files, [&](const ReportFile& file) {
        if (!isLeftOut(options, prefix + file.name))
            return false;
        sources.leftOut.push_back({file.name, kLeftOutByUser});
        return true;
    });
}

DGAReportContent contentOf(const ReportFile& file, const std::string& prefix) {
    return {.name = prefix + file.name, .kind = file.kind, .size = file.size, .path = file.path};
}

}  // namespace

DGAReportCollection::Tools DGAReportCollection::realTools(Tools tools) {
    if (!tools.run)
        tools.run = [](const platform::Task& task) { return platform::runTask(task); };
    if (!tools.systemProfile)
        tools.systemProfile = [](const std::string& path, const std::string& detailLevel) {
            DGASystemProfileExtractor().generateSystemProfiler(path, detailLevel);
        };
    if (!tools.screenshot)
        tools.screenshot = [](const std::string& path) {
            return DGAScreenshotExtractor().generateScreenshot(path);
        };
    if (!tools.crashRecord)
        tools.crashRecord = [](const std::string& processId, const std::string& namePrefix) {
            return platform::writeCoredumpRecord(
                processId, platform::expandTilde("~/Library/Logs/DiagnosticReports"), namePrefix);
        };
    if (!tools.saveTime)
        tools.saveTime = [] { return dga_transformToCurrentDateString(kDGAZipLogDateFormat); };
    if (!tools.policy)
        tools.policy = &DGAPolicy::current;
    return tools;
}

DGAReportCollection::DGAReportCollection(const Tools& tools)
    : tools_(tools),
      logCollector_(OrvLogCollectorConfigurator::orvLogCollector()),
      sources_(kDGAReportSummaryName) {
    policy_ = tools_.policy();
}

DGAReportOptions DGAReportCollection::allowed(DGAReportOptions options) const {
    options.screenShot = options.screenShot && policy_.allows(DGAPolicyKey::screenCapture);
    options.systemInfo = options.systemInfo && policy_.allows(DGAPolicyKey::systemProfile);
    return options;
}

// Whoever asks: what a crash has left is the reason for the report, and the desktop tools' have it always.
bool DGAReportCollection::asksForCrashLogs(const DGAReportOptions& options) const {
    return options.crashLog || serviceType_ == kDGAServiceTypeKT ||
           DGASessionRecord::sharedRecord().events.contains(DGASessionEventKind::crash);
}

bool DGAReportCollection::wantsCrashLogs(const DGAReportOptions& options) const {
    return asksForCrashLogs(options) && policy_.allows(DGAPolicyKey::crashReports);
}

// What was asked for and is not there without anything having failed.
void DGAReportCollection::leaveOutForbidden(const DGAReportOptions& options, ReportSources& sources) const {
    const auto leaveOut = [&](bool asked, DGAPolicyKey key, const char* kind) {
        if (asked && !policy_.allows(key))
            sources.leaveOut(kind, "the administrator's policy forbids it");
    };
    leaveOut(options.screenShot && serviceType_ != kDGAServiceTypeKT, DGAPolicyKey::screenCapture,
             Kind::kScreenshot);
    leaveOut(options.systemInfo, DGAPolicyKey::systemProfile, Kind::kSystemProfile);
    leaveOut(asksForCrashLogs(options), DGAPolicyKey::crashReports, Kind::kCrashReport);
}

std::shared_ptr<DGAReportCollection> DGAReportCollection::open(const DGAReportOptions& options,
                                                               const Tools& tools) {
    std::shared_ptr<DGAReportCollection> made(new DGAReportCollection(tools));
    made->serviceType_ = options.serviceType;
    made->workspace_ = DGAReportWorkspace::open(archiveNamePrefix(options.serviceType), tools.saveTime());
    if (!made->workspace_)
        return nullptr;
    made->number_ = made->workspace_->number();
    if (options.serviceType == kDGAServiceTypeKT)
        made->findToolsFiles();
    else
        made->findMeetingFiles();
    if (made->wantsCrashLogs(options))
        for (const auto& report : made->crashLogs())
            made->sources_.add(report, Kind::kCrashReport);
    return made;
}

void DGAReportCollection::findMeetingFiles() {
    static constexpr const char* kKinds[] = {Kind::kMeetingLog, Kind::kPluginLog,  Kind::kPluginLog,
                                             Kind::kAppletLog,  Kind::kParameters, Kind::kAssistantLog,
                                             Kind::kTopic,      Kind::kTrace};
    const DGACSVFileTool& trace = DGACSVFileTool::shareFileTool();
    logCollector_->traceFiles = {trace.orvdgaTopicFilePath(), trace.orvdgaCSVFilePath()};
    const Paths logs = logCollector_->allLatestLogs();
    for (size_t i = 0; i < logs.size() && i < std::size(kKinds); ++i)
        sources_.add(logs[i], kKinds[i]);
}

void DGAReportCollection::findToolsFiles() {
    for (const auto& [folder, archive] :
         {std::pair{kDGAKTStorePath, kDGAKTZipLogFile}, {kDGAKTPluginStorePath, kDGAKTPluginZipLogFile}}) {
        nested_.push_back({archive, ReportSources()});
        nested_.back().logs.add(libraryFolder(folder), Kind::kToolsLog);
    }
    sources_.add(ORVNLogger::sharedLogger().logFileName().value_or(""), Kind::kAssistantLog);
    sources_.add(DGACSVFileTool::shareFileTool().orvdgaCSVFilePath(), Kind::kTrace);
}

// One that is written only now joins, too. A client that has said goodbye has not crashed.
void DGAReportCollection::findCrashLogs(const DGAReportOptions& options, DGAReportSummary& summary) {
    const bool wanted = wantsCrashLogs(options);
    logInfo("fetchFileDestinationPathWithOriginalArr {}", wanted ? "crash" : "normal");
    if (!wanted)
        return;
    const DGASessionRecord& record = DGASessionRecord::sharedRecord();
    const auto processId = record.pID.get();
    const bool isTools = serviceType_ == kDGAServiceTypeKT;
    const bool isAsked = options.crashLog || record.events.contains(DGASessionEventKind::crash);
    if (isAsked && processId && !record.clientHasQuit)
        summary.modules = tools_.crashRecord(
            *processId, isTools ? kDGAKTCrashLogPrefix : std::string(OrvMeetingCrashLogPrefix) + "_");
    const std::lock_guard<std::mutex> hold(mutex_);
    for (const auto& report : crashLogs())
        sources_.add(report, Kind::kCrashReport);
}

DGAReportCollection::Paths DGAReportCollection::crashLogs() {
    if (serviceType_ != kDGAServiceTypeKT)
        return logCollector_->allCrashLogs();
    const std::string folder = libraryFolder(kDGAKTCrashStorePath);
    Paths reports;
    for (const auto& name : platform::namesInUserFolder(folder)) {
        if (name.starts_with(kDGAKTCrashLogPrefix))
            reports.push_back(fmt::format("{}/{}", folder, name));
    }
    return reports;
}

std::string DGAReportCollection::picturePath() const {
    return workspace_->pathOf(pictureName_);
}

std::string DGAReportCollection::profilePath() const {
    return workspace_->pathOf(kDGASPXFileName);
}

void DGAReportCollection::complete(const DGAReportOptions& asked) {
    const DGAReportOptions options = allowed(asked);
    const std::lock_guard<std::mutex> wait(oneAtATime_);
    if (isUsedUp())
        return;
    if (options.systemInfo && !hasProfile_)
        tools_.systemProfile(profilePath(), kDetailLevel);
    {
        const std::lock_guard<std::mutex> hold(mutex_);
        hasProfile_ = hasProfile_ || options.systemInfo;
    }
    if (options.screenShot && pictureName_.empty() && serviceType_ != kDGAServiceTypeKT)
        takePicture();
}

bool DGAReportCollection::lacksPicture(const DGAReportOptions& asked) const {
    const std::lock_guard<std::mutex> hold(mutex_);
    return allowed(asked).screenShot && !pictureName_.empty() && !pictureFault_.empty();
}

void DGAReportCollection::retakePicture() {
    const std::lock_guard<std::mutex> wait(oneAtATime_);
    if (!isUsedUp() && policy_.allows(DGAPolicyKey::screenCapture))
        takePicture();
}

// In the place of an earlier one: an archive holds the picture that was shown last, or none.
void DGAReportCollection::takePicture() {
    ORVN_LOG_METHOD();
    const std::string name = fmt::format("{}{}.png", kScreenshotPrefix, tools_.saveTime());
    const std::string before = pictureName_.empty() ? "" : picturePath();
    if (tools_.hideWindows)
        tools_.hideWindows();
    if (!before.empty())
        std::remove(before.c_str());
    const std::string fault = tools_.screenshot(workspace_->pathOf(name));
    if (tools_.showWindows)
        tools_.showWindows();
    const std::lock_guard<std::mutex> hold(mutex_);
    pictureName_ = name;
    pictureFault_ = fault;
}

DGAReportContents DGAReportCollection::contents(const DGAReportOptions& asked) const {
    const DGAReportOptions options = allowed(asked);
    const std::lock_guard<std::mutex> hold(mutex_);
    DGAReportContents contents;
    if (isUsedUp())
        return contents;
    for (const Nested& nested : nested_) {
        for (const auto& file : nested.logs.files)
            contents.files.push_back(contentOf(file, nested.archive + ".zip/"));
    }
    ReportSources all = sources_;
    leaveOutForbidden(asked, all);
    const bool hasPicture = options.screenShot && !pictureName_.empty();
    if (hasPicture && pictureFault_.empty())
        all.add(picturePath(), Kind::kScreenshot);
    if (options.systemInfo && hasProfile_)
        all.add(profilePath(), Kind::kSystemProfile);
    for (const auto& file : all.files)
        contents.files.push_back(contentOf(file, ""));
    contents.picture = hasPicture ? picturePath() : "";
    contents.pictureFault = hasPicture ? pictureFault_ : "";
    contents.isComplete = (!options.systemInfo || hasProfile_) &&
                          (!options.screenShot || serviceType_ == kDGAServiceTypeKT || hasPicture);

    DGAReportSummary summary{.number = workspace_->number(),
                             .options = asked,
                             .packed = std::chrono::system_clock::now(),
                             .files = all.files,
                             .leftOut = all.leftOut,
                             .policy = policy_,
                             .modules = {}};
    const std::string text = summary.json(DGASessionRecord::sharedRecord());
    if (workspace_->write(kDGAReportSummaryName, text))
        contents.files.push_back({.name = kDGAReportSummaryName,
                                  .kind = kDGAReportSummaryKind,
                                  .size = text.size(),
                                  .path = workspace_->pathOf(kDGAReportSummaryName)});
    return contents;
}

std::string DGAReportCollection::pack(const DGAReportOptions& asked) {
    ORVN_LOG_METHOD();
    const DGAReportOptions options = allowed(asked);
    const std::lock_guard<std::mutex> wait(oneAtATime_);
    if (isUsedUp())
        return "its files have been packed already";
    DGAReportSummary summary;
    findCrashLogs(options, summary);
    ReportSources sources = sources_;
    leaveOutForbidden(asked, sources);
    leaveOutByUser(options, "", sources);
    packNested(options, sources, summary);
    addMade(options, sources);
    const std::string& number = workspace_->number();
    DGAReportPacker packer(*workspace_, tools_.run);
    std::string fault = packer.pack(number, sources);
    if (!fault.empty())
        return fault;
    summary.number = number;
    summary.options = asked;
    summary.policy = policy_;
    summary.packed = std::chrono::system_clock::now();
    summary.files.insert(summary.files.begin(), sources.files.begin(), sources.files.end());
    summary.leftOut.insert(summary.leftOut.begin(), sources.leftOut.begin(), sources.leftOut.end());
    if (!workspace_->write(kDGAReportSummaryName, summary.json(DGASessionRecord::sharedRecord())))
        return "its summary cannot be written";
    return packer.addFile(number, kDGAReportSummaryName);
}

// An archive inside the archive, where there is something to put into it.
void DGAReportCollection::packNested(const DGAReportOptions& options, ReportSources& sources,
                                     DGAReportSummary& summary) {
    DGAReportPacker packer(*workspace_, tools_.run);
    for (const Nested& nested : nested_) {
        const std::string archive = nested.archive + ".zip";
        ReportSources logs = nested.logs;
        leaveOutByUser(options, archive + "/", logs);
        std::string fault;
        if (!logs.files.empty())
            fault = packer.pack(nested.archive, logs);
        for (auto& file : logs.leftOut)
            summary.leftOut.push_back({archive + "/" + file.name, file.reason});
        if (!fault.empty())
            sources.leaveOut(archive, fault);
        if (!fault.empty() || logs.files.empty())
            continue;
        sources.add(workspace_->pathOf(archive), Kind::kArchive);
        for (auto& file : logs.files) {
            file.name = archive + "/" + file.name;
            summary.files.push_back(std::move(file));
        }
    }
}

void DGAReportCollection::addMade(const DGAReportOptions& options, ReportSources& sources) const {
    const auto add = [&](const std::string& path, const char* kind, const char* missing) {
        const size_t before = sources.files.size();
        sources.add(path, kind);
        if (sources.files.size() == before)
            sources.leaveOut(path, missing);
    };
    if (options.screenShot && !pictureName_.empty())
        add(picturePath(), Kind::kScreenshot,
            pictureFault_.empty() ? "there is no picture" : pictureFault_.c_str());
    if (options.systemInfo && hasProfile_)
        add(profilePath(), Kind::kSystemProfile, "the profile could not be made");
}

std::optional<std::string> DGAReportCollection::publish() {
    const std::lock_guard<std::mutex> wait(oneAtATime_);
    const std::lock_guard<std::mutex> hold(mutex_);
    auto path = workspace_ ? workspace_->publish() : std::nullopt;
    if (path)
        workspace_.reset();
    return path;
}
