#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>

#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "DGAUpload/logic/CTraceUpload.h"
#include "Options.h"
#include "platform/RunLoop.h"
#include "support/ORVNLogger.h"

namespace {

using namespace upload;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

const char* wordsFor(int32_t status) {
    switch (status) {
        case CTraceUpload::kStatusConstructed:
            return "asking the server";
        case CTraceUpload::kStatusNoFile:
            return "the file cannot be opened";
        case CTraceUpload::kStatusFileEmpty:
            return "the file is empty: there is nothing to send";
        case CTraceUpload::kStatusQueryAnswered:
            return "the server takes the report";
        case CTraceUpload::kStatusQueryFailed:
            return "the server cannot be reached, or does not answer as it should";
        case CTraceUpload::kStatusSending:
            return "sending";
        case CTraceUpload::kStatusSendFailed:
            return "the server refused the report, or the connection was lost";
        case CTraceUpload::kStatusSent:
            return "sent";
        case CTraceUpload::kStatusExceedFileNumber:
            return "the server has too many reports already";
        default:
            return "unknown";
    }
}

bool isFinal(int32_t status) {
    return status != CTraceUpload::kStatusConstructed && status != CTraceUpload::kStatusQueryAnswered &&
           status != CTraceUpload::kStatusSending;
}

void setFields(CTraceUpload& uploader, const Options& options) {
    uploader.setConfId(options.confId);
    uploader.setUploadTimeStamp(dga_transformToCurrentDateString("MM_dd_yyyy_HH:mm:ss"));
    uploader.setSmac(options.smac);
    uploader.setConferenceName(options.confName);
    uploader.setUserId(options.userId);
    uploader.setSiteId(options.siteId);
    uploader.setUserName(options.userName);
    uploader.setMeetingKey(options.meetingKey);
    uploader.setSmacTimestap(options.smacTimestap);
    uploader.setUserEmail(options.userEmail);
    uploader.setUserComment(options.comment);
    uploader.setTrackingId(options.trackingId);
    uploader.setProblemCatagory(options.category);
    uploader.setLanguageID(options.languageId);
    uploader.setClientVersion(options.clientVersion);
    uploader.setFileName(options.fileName);
}

/// Shows what moves: on a terminal one line that changes, else a line for every change.
void show(int32_t status, int32_t progress, bool isLast) {
    const bool isTerminal = isatty(STDOUT_FILENO) == 1;
    fmt::print("{}{:3} %  status {} ({}){}", isTerminal ? "\r" : "", progress, status, wordsFor(status),
               isTerminal ? "\x1b[K" : "");
    if (!isTerminal || isLast)
        fmt::print("\n");
    std::fflush(stdout);
}

/// Turns the loop until a final status. False if nothing moved for too long.
bool waitForEnd(const CTraceUpload& uploader, const Options& options) {
    int32_t shownStatus = 0;
    int32_t shownProgress = -1;
    auto moved = Clock::now();
    while (true) {
        const int32_t status = uploader.m_status;
        const int32_t progress = uploader.m_upload_progress;
        if (status != shownStatus || progress != shownProgress) {
            if (!options.quiet)
                show(status, progress, isFinal(status));
            shownStatus = status;
            shownProgress = progress;
            moved = Clock::now();
        }
        if (isFinal(status))
            return true;
        if (Clock::now() - moved > options.patience)
            return false;
        platform::RunLoop::main().runFor(20ms);
    }
}

int send(const Options& options) {
    CTraceUpload uploader;
    setFields(uploader, options);
    if (!uploader.preparingReport(options.url, options.file) ||
        uploader.m_status == CTraceUpload::kStatusNoFile) {
        fmt::print(stderr, "orvane-upload: {}: cannot be opened, or is not a file\n", options.file);
        return 1;
    }
    const auto start = Clock::now();
    uploader.queryAndUploadToSever();
    if (!waitForEnd(uploader, options)) {
        fmt::print(stderr, "\norvane-upload: nothing moved for {} s, status {} ({})\n",
                   options.patience.count(), uploader.m_status.load(), wordsFor(uploader.m_status));
        return 1;
    }
    const int32_t status = uploader.m_status;
    if (status != CTraceUpload::kStatusSent) {
        fmt::print(stderr, "orvane-upload: failed with status {}: {}\n", status, wordsFor(status));
        return 1;
    }
    if (!options.quiet)
        fmt::print("{} sent in {:.2f} s\n", options.file,
                   std::chrono::duration<double>(Clock::now() - start).count());
    return 0;
}

}  // namespace

int main(int argc, char** argv) try {
    umask(077);
    std::signal(SIGPIPE, SIG_IGN);
    Options options;
    if (const auto status = readOptions(options, argc, argv))
        return *status;
    if (!options.log.empty())
        ORVNLogger::sharedLogger().initParams({options.log, "orvtra_upload_", 5});
    return send(options);
} catch (const std::exception& error) {
    std::fprintf(stderr, "orvane-upload: %s\n", error.what());
    return 1;
}
