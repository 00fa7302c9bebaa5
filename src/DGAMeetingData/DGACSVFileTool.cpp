#include "DGAMeetingData/DGACSVFileTool.h"

#include <fmt/format.h>
#include <unistd.h>

#include <atomic>
#include <utility>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "DGAMonitor/Utilities/DGAUtilitiesFiles.h"
#include "platform/PrivateFolder.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

namespace {

using platform::PrivateFolder;

constexpr char kTraceFilePrefix[] = "orvdga_trace_meeting_";

// Made when the program loads and never destroyed: records may come until the last moment.
platform::SerialQueue* const theTraceQueue = new platform::SerialQueue("com.tellan.orvane.orvanedga");

bool isToolsService() {
    return DGASessionRecord::sharedRecord().serviceType == kDGAServiceTypeKT;
}

std::string lastComponent(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::string lineOf(const DGATraceRecord& record) {
    const std::string time =
        record.timestamp.value_or("").empty() ? DGACSVFileTool::fetchCurrentTime() : *record.timestamp;
    const int64_t thread = record.threadID != 0 ? record.threadID : DGACSVFileTool::getThreadID();
    const std::string id =
        fmt::format("{:.{}f}", static_cast<double>(record.dwID), record.dwID > 0.0F ? 1 : 0);
    return fmt::format("{},{},{},{},{},{},{},{},{},{},{}", static_cast<int64_t>(record.moduleType),
                       record.levelType, record.interactionType, record.basicInfo.value_or(""), id,
                       record.desc.value_or(""), record.dwValue, record.lpszReserved.value_or(""),
                       record.dwReserved, time, thread);
}

}  // namespace

platform::SerialQueue& DGACSVFileTool::traceQueue() {
    return *theTraceQueue;
}

DGACSVFileTool& DGACSVFileTool::shareFileTool() {
    static DGACSVFileTool* const tool = new DGACSVFileTool();
    return *tool;
}

DGACSVFileTool::DGACSVFileTool() : dateStr_(dga_transformToCurrentDateString("yyyMMdd_HHmmss")) {
    dirFilePath_ =
        fmt::format("{}/{}{}_{}", dgaStorePath(), isToolsService() ? kDGAKTRunPrefix : kDGATraceFolderPrefix,
                    dateStr_, support::orNull(DGASessionRecord::sharedRecord().dga_pID.get()));
    checkFilePathIfExist();
}

void DGACSVFileTool::saveDGATraceWithModuleType(int64_t moduleType, int64_t levelType,
                                                int64_t interactionType, Text basicInfo, float dwID,
                                                Text desc, int64_t dwValue, Text lpszReserved,
                                                int64_t dwReserved, Text timestamp, int64_t threadID) {
    saveTraceRecord({static_cast<DGATraceModule>(moduleType), levelType, interactionType,
                     std::move(basicInfo), dwID, std::move(desc), dwValue, std::move(lpszReserved),
                     dwReserved, std::move(timestamp), threadID});
}

void DGACSVFileTool::saveTraceRecord(DGATraceRecord record) {
    if (!isToolsService())
        traceQueue().async([record = std::move(record)] { writeToCSVWWithContent(lineOf(record)); });
}

void DGACSVFileTool::writeToCSVWWithContent(const std::string& content) {
    DGACSVFileTool& tool = shareFileTool();
    tool.checkFilePathIfExist();
    tool.outputContent(content);
}

void DGACSVFileTool::checkFilePathIfExist() {
    const auto store = PrivateFolder::open(dgaStorePath(), PrivateFolder::Create::yes);
    const std::string name = lastComponent(dirFilePath_);
    if (!store || store->contains(name))
        return;
    folder_ = store->subfolder(name, PrivateFolder::Create::yes);
    // Other assistants leave it alone as long as it is marked.
    if (!folder_)
        return;
    folder_->lock();
    if (!isToolsService())
        DGAUtilities::dga_createOrvdgaTopicFileAtPath(orvdgaTopicFilePath(),
                                                      DGASessionRecord::sharedRecord().confName.get());
    createCSVFile();
}

void DGACSVFileTool::createCSVFile() const {
    if (isToolsService())
        return;
    if (const auto folder = PrivateFolder::open(dirFilePath_, PrivateFolder::Create::no))
        folder->createFile(lastComponent(orvdgaCSVFilePath()));
}

void DGACSVFileTool::outputContent(const std::string& content) const {
    if (const auto folder = PrivateFolder::open(dirFilePath_, PrivateFolder::Create::no))
        folder->appendToFile(lastComponent(orvdgaCSVFilePath()), content + "\n");
}

void DGACSVFileTool::removeFile() {
    traceQueue().sync([this] {
        if (const auto store = PrivateFolder::open(dgaStorePath(), PrivateFolder::Create::no))
            store->remove(lastComponent(dirFilePath_));
    });
}

std::string DGACSVFileTool::orvdgaCSVFilePath() const {
    return fmt::format("{}/{}{}.csv", dirFilePath_, kTraceFilePrefix, dateStr_);
}

std::string DGACSVFileTool::orvdgaTopicFilePath() const {
    return fmt::format("{}/{}", dirFilePath_, kOrvdgaTopicName);
}

std::string DGACSVFileTool::fetchCurrentTime() {
    return dga_transformToCurrentDateString("yyyy-MM-dd HH:mm:ss.SSS");
}

int64_t DGACSVFileTool::getThreadID() {
    static std::atomic<int64_t> last{1};
    thread_local const int64_t own = gettid() == getpid() ? 1 : ++last;
    return own;
}
