#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "DGAMonitor/Const/DGATraceRecord.h"
#include "platform/PrivateFolder.h"

namespace platform {
class SerialQueue;
}

/// The run's trace: one folder of its own in /tmp/orvdga with the topic file and the trace file, to which
/// every record is appended as one line. A record that cannot be written is lost and the next one tries
/// again; at 256 MB the file is full, and the log says so. The layout of folder, files and record is
/// described in docs/report-format.md.
class DGACSVFileTool {
public:
    using Text = DGATraceRecord::Text;

    /// The one instance; making it makes the run's folder.
    static DGACSVFileTool& shareFileTool();

    /// Appends one record and returns at once; records of all threads are written in the order of their
    /// calls. A missing text is an empty field, a control character or line break in one becomes a blank; a
    /// missing or empty timestamp becomes the time of writing, and a thread id of 0 the number of the writing
    /// thread. Nothing is written for the desktop tools service (service type 10). Any thread.
    static void saveTraceRecord(DGATraceRecord record);

    /// The same with the record's eleven values in their order.
    static void saveDGATraceWithModuleType(int64_t moduleType, int64_t levelType, int64_t interactionType,
                                           Text basicInfo, float dwID, Text desc, int64_t dwValue,
                                           Text lpszReserved, int64_t dwReserved, Text timestamp,
                                           int64_t threadID);

    /// Whether few enough records wait to be written. Whoever makes many at the bidding of others stops
    /// taking orders while they do not. Any thread.
    static bool hasRoom();

    /// Calls back on the main thread once there is room again. Any thread.
    static void whenRoom(std::function<void()> call);

    /// The queue on which the trace is written. While a call on it runs, nothing is written.
    static platform::SerialQueue& traceQueue();

    /// Makes the run's folder and its files if the folder is missing. Any thread.
    void checkFilePathIfExist();

    /// Removes the run's folder with all it contains, after the records that are queued. Any thread.
    void removeFile();

    /// The run's folder, and the full paths of its two files; all the same for the whole run.
    const std::string& dirFilePath() const { return dirFilePath_; }
    std::string orvdgaCSVFilePath() const;
    std::string orvdgaTopicFilePath() const;

    /// The current local time as "yyyy-MM-dd HH:mm:ss.SSS".
    static std::string fetchCurrentTime();

    /// A small number of the calling thread that stays the same while it lives; 1 is the main thread.
    static int64_t getThreadID();

    DGACSVFileTool(const DGACSVFileTool&) = delete;
    DGACSVFileTool& operator=(const DGACSVFileTool&) = delete;

private:
    DGACSVFileTool();
    static void writeToCSVWWithContent(const std::string& content);
    void createCSVFile() const;
    void outputContent(const std::string& content);

    std::string dateStr_;
    std::string dirFilePath_;
    bool isFull_ = false;                            // trace queue
    std::optional<platform::PrivateFolder> folder_;  ///< holds the mark of its being in use
};
