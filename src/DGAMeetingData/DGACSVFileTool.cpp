#include "DGAMeetingData/DGACSVFileTool.h"

#include <fmt/format.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "DGAMonitor/Utilities/DGAUtilitiesFiles.h"
#include "platform/PrivateFolder.h"
#include "platform/RunLoop.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"
#include "support/PlainText.h"

namespace {

using platform::PrivateFolder;

constexpr char kTraceFilePrefix[] = "orvdga_trace_meeting_";
constexpr uint64_t kLargestTrace = uint64_t{256} * 1000 * 1000;

// Of records that wait: from the one on there is no room, from the other on there is again.
constexpr int kNoRoom = 4096;
constexpr int kRoom = 1024;

// Made when the program loads and never destroyed: records may come until the last moment.
platform::SerialQueue* const theTraceQueue = new platform::SerialQueue("com.tellan.orvane.orvanedga");

// The records that wait, and who waits for there being fewer.
class Waiting {
public:
    void add() { ++count_; }
    bool hasRoom() const { return count_ < kNoRoom; }

    void remove() {
        if (--count_ > kRoom)
            return;
        const std::lock_guard<std::mutex> hold(mutex_);
        callAll();
    }

    void whenRoom(std::function<void()> call) {
        const std::lock_guard<std::mutex> hold(mutex_);
        calls_.push_back(std::move(call));
        if (count_ <= kRoom)
            callAll();
    }

private:
    void callAll() {
        for (auto& call : std::exchange(calls_, {}))
            platform::performOnMain(std::move(call));
    }

    std::atomic<int> count_{0};
    std::mutex mutex_;
    std::vector<std::function<void()>> calls_;
};

Waiting& waiting() {
    static auto* const records = new Waiting();
    return *records;
}

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
    const auto field = [](const DGATraceRecord::Text& text) { return support::onOneLine(text.value_or("")); };
    return fmt::format("{},{},{},{},{},{},{},{},{},{},{}", static_cast<int64_t>(record.moduleType),
                       record.levelType, record.interactionType, field(record.basicInfo), id,
                       field(record.desc), record.dwValue, field(record.lpszReserved), record.dwReserved,
                       field(time), thread);
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
    if (isToolsService())
        return;
    waiting().add();
    traceQueue().async([record = std::move(record)] {
        try {
            writeToCSVWWithContent(lineOf(record));
        } catch (const std::bad_alloc&) {
            logWarning("a record was lost: there is no memory for it");
        }
        waiting().remove();
    });
}

bool DGACSVFileTool::hasRoom() {
    return waiting().hasRoom();
}

void DGACSVFileTool::whenRoom(std::function<void()> call) {
    waiting().whenRoom(std::move(call));
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

void DGACSVFileTool::outputContent(const std::string& content) {
    const auto folder = PrivateFolder::open(dirFilePath_, PrivateFolder::Create::no);
    if (!folder)
        return;
    errno = 0;
    const bool written =
        folder->appendToFile(lastComponent(orvdgaCSVFilePath()), content + "\n", kLargestTrace);
    const bool isFull = !written && errno == EFBIG;
    if (isFull && !isFull_)
        logWarning("the trace file is full, no further records are written");
    isFull_ = isFull;
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
