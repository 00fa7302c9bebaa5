#include "DGAMeetingData/DGACSVFileTool.h"

#include <fmt/format.h>
#include <unistd.h>

#include <atomic>
#include <utility>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/DGAMonitorToolManager.h"
#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "DGAMonitor/Utilities/DGAUtilities.h"
#include "platform/PrivateFolder.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

namespace {

using platform::PrivateFolder;

constexpr char kMeetingFolderPrefix[] = "orvanedga_meeting_";
constexpr char kToolsFolderPrefix[] = "orvanedga_orvaneapp_";
constexpr char kTraceFilePrefix[] = "orvdga_trace_meeting_";

// Made when the program loads and never destroyed: records may come until the last moment.
platform::SerialQueue* const theTraceQueue = new platform::SerialQueue("com.tellan.orvane.orvanedga");

bool isToolsService() {
    return DGAMonitorToolManager::shareManager().serviceType == kDGAServiceTypeKT;
}

std::string lastComponent(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

struct Record {
    int64_t moduleType;
    int64_t levelType;
    int64_t interactionType;
    DGACSVFileTool::Text basicInfo;
    float dwID;
    DGACSVFileTool::Text desc;
    int64_t dwValue;
    DGACSVFileTool::Text lpszReserved;
    int64_t dwReserved;
    DGACSVFileTool::Text timestamp;
    int64_t threadID;

    std::string line() const {
        const std::string time =
            timestamp.value_or("").empty() ? DGACSVFileTool::fetchCurrentTime() : *timestamp;
        const int64_t thread = threadID != 0 ? threadID : DGACSVFileTool::getThreadID();
        const std::string id = fmt::format("{:.{}f}", static_cast<double>(dwID), dwID > 0.0F ? 1 : 0);
        return fmt::format("{},{},{},{},{},{},{},{},{},{},{}", moduleType, levelType, interactionType,
                           basicInfo.value_or(""), id, desc.value_or(""), dwValue, lpszReserved.value_or(""),
                           dwReserved, time, thread);
    }
};

}  // namespace

platform::SerialQueue& DGACSVFileTool::traceQueue() {
    return *theTraceQueue;
}

DGACSVFileTool& DGACSVFileTool::shareFileTool() {
    static DGACSVFileTool* const tool = new DGACSVFileTool();
    return *tool;
}

DGACSVFileTool::DGACSVFileTool() : dateStr_(dga_transformToCurrentDateString("yyyMMdd_HHmmss")) {
    dirFilePath_ = fmt::format("{}/{}{}_{}", kDGATempStorePath,
                               isToolsService() ? kToolsFolderPrefix : kMeetingFolderPrefix, dateStr_,
                               support::orNull(DGAMonitorToolManager::shareManager().dga_pID.get()));
    checkFilePathIfExist();
}

void DGACSVFileTool::saveDGATraceWithModuleType(int64_t moduleType, int64_t levelType,
                                                int64_t interactionType, Text basicInfo, float dwID,
                                                Text desc, int64_t dwValue, Text lpszReserved,
                                                int64_t dwReserved, Text timestamp, int64_t threadID) {
    if (isToolsService())
        return;
    Record record{
        moduleType,      levelType, interactionType,         std::move(basicInfo), dwID,
        std::move(desc), dwValue,   std::move(lpszReserved), dwReserved,           std::move(timestamp),
        threadID};
    traceQueue().async([record = std::move(record)] { writeToCSVWWithContent(record.line()); });
}

void DGACSVFileTool::writeToCSVWWithContent(const std::string& content) {
    DGACSVFileTool& tool = shareFileTool();
    tool.checkFilePathIfExist();
    tool.outputContent(content);
}

void DGACSVFileTool::checkFilePathIfExist() {
    const auto store = PrivateFolder::open(kDGATempStorePath, PrivateFolder::Create::yes);
    const std::string name = lastComponent(dirFilePath_);
    if (!store || store->contains(name) || !store->subfolder(name, PrivateFolder::Create::yes))
        return;
    if (!isToolsService())
        DGAUtilities::dga_createOrvdgaTopicFileAtPath(orvdgaTopicFilePath());
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
        if (const auto store = PrivateFolder::open(kDGATempStorePath, PrivateFolder::Create::no))
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
