#include "DGAMonitor/Report/DGAReportPacker.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <map>
#include <sstream>
#include <system_error>
#include <thread>
#include <utility>

#include "DGAMonitor/Report/DGAReportWorkspace.h"
#include "platform/BundleInfo.h"
#include "platform/FileDigest.h"
#include "platform/UserFiles.h"
#include "reportproblem/ZipListing.h"
#include "support/ORVNLogger.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr char kZipProgram[] = "/usr/bin/zip";
constexpr char kZipOptions[] = "-jr";
constexpr auto kDeadline = 5min;
// Far below the kernel's limit for all arguments of a program (execve(2)).
constexpr size_t kMostArgumentBytes = size_t{512} * 1024;
// zip(1): some of the files could not be opened; the others are packed.
constexpr int kSomeNotOpened = 18;
constexpr size_t kMostLinesTold = 5;
constexpr char kEnding[] = "the assistant ends";

// A pipe to which something is written when every zip shall end.
struct Stop {
    std::array<int, 2> pipe{-1, -1};
    std::atomic<bool> asked{false};
    std::atomic<int> running{0};
    Stop() {
        if (pipe2(pipe.data(), O_CLOEXEC) != 0)
            logWarning("zip cannot be ended early");
    }
};

Stop& theStop() {
    static Stop* const stop = new Stop();
    return *stop;
}

// What zip says beside the names of the files that it adds.
std::string firstLines(const std::string& output) {
    std::istringstream lines(output);
    std::string text;
    size_t count = 0;
    for (std::string line; count < kMostLinesTold && std::getline(lines, line);) {
        if (line.find_first_not_of(" \t\r") == std::string::npos || line.starts_with("  adding: "))
            continue;
        text.append(count++ == 0 ? "" : " | ").append(line.substr(0, 200));
    }
    return text;
}

// Sums up files while zip packs them, and afterwards what has grown meanwhile.
class Digests {
public:
    explicit Digests(const std::vector<ReportFile>& files) : files_(files), digests_(files.size()) {
        try {
            thread_ = std::thread([this] { readAll(); });
        } catch (const std::system_error&) {
            readAll();
        }
    }
    ~Digests() { wait(); }
    Digests(const Digests&) = delete;
    Digests& operator=(const Digests&) = delete;

    // Of the first `size` bytes; "" if they cannot be read.
    std::string of(size_t number, uint64_t size) {
        wait();
        if (digests_[number].length() > size)
            digests_[number] = platform::FileDigest();
        return readUpTo(number, size) ? digests_[number].hex() : "";
    }

private:
    void wait() {
        if (thread_.joinable())
            thread_.join();
    }
    void readAll() {
        for (size_t i = 0; i < files_.size() && !theStop().asked; ++i)
            readUpTo(i, files_[i].size);
    }
    bool readUpTo(size_t number, uint64_t size) {
        if (size > 0 && digests_[number].length() == size)
            return true;
        const int file = platform::openUserFile(files_[number].path,
                                                {.programFolder = platform::BundleInfo::executableFolder()});
        const bool done = file >= 0 && digests_[number].readUpTo(file, size);
        if (file >= 0)
            close(file);
        return done;
    }

    const std::vector<ReportFile> files_;
    std::vector<platform::FileDigest> digests_;
    std::thread thread_;
};

// The size of each file in the archive by its number in the list; none of one that is not there. zip keeps
// the order; the names alone do not tell, since it may write one that is not ASCII in another way.
std::map<size_t, uint64_t> packedSizes(const std::string& archive, const std::vector<ReportFile>& files) {
    std::map<size_t, uint64_t> sizes;
    const auto entries = listZip(archive);
    for (size_t i = 0; !entries && i < files.size(); ++i)
        sizes[i] = files[i].size;
    if (!entries)
        return sizes;
    for (size_t i = 0, at = 0; i < files.size() && at < entries->size(); ++i) {
        const bool all = entries->size() == files.size();
        if (all || (*entries)[at].name == files[i].name)
            sizes[i] = (*entries)[at++].size;
    }
    return sizes;
}

}  // namespace

DGAReportPacker::DGAReportPacker(const DGAReportWorkspace& workspace, Run run)
    : workspace_(workspace), run_(std::move(run)), end_(Clock::now() + kDeadline) {}

std::string DGAReportPacker::pack(const std::string& name, ReportSources& sources) {
    const std::string archive = workspace_.pathOf(name);
    // zip would add to what an earlier try has left.
    std::remove((archive + ".zip").c_str());
    Digests digests(sources.files);
    for (const auto& arguments : argumentsFor(archive, sources)) {
        std::string fault = runZip(arguments);
        if (!fault.empty())
            return fault;
    }
    const auto sizes = packedSizes(archive + ".zip", sources.files);
    std::vector<ReportFile> packed;
    for (size_t i = 0; i < sources.files.size(); ++i) {
        ReportFile& file = sources.files[i];
        const auto size = sizes.find(i);
        if (size == sizes.end()) {
            sources.leaveOut(file.path, "it could not be read");
            continue;
        }
        file.size = size->second;
        file.sha256 = digests.of(i, file.size);
        if (file.sha256.empty())
            sources.leaveOut(file.path,
                             "it went away while it was packed: what is there of it is not summed up");
        else
            packed.push_back(std::move(file));
    }
    sources.files = std::move(packed);
    return "";
}

std::string DGAReportPacker::addFile(const std::string& archiveName, const std::string& fileName) {
    return runZip({kZipOptions, workspace_.pathOf(archiveName), workspace_.pathOf(fileName)});
}

std::vector<DGAReportPacker::Arguments> DGAReportPacker::argumentsFor(const std::string& archive,
                                                                      const ReportSources& sources) const {
    std::vector<Arguments> runs{{kZipOptions, archive}};
    size_t bytes = 0;
    for (const auto& file : sources.files) {
        const bool renamed = file.path.substr(file.path.rfind('/') + 1) != file.name;
        std::string path = renamed ? workspace_.linkTo(file.path, file.name) : file.path;
        bytes += path.size();
        if (bytes > kMostArgumentBytes) {
            runs.push_back({kZipOptions, archive});
            bytes = path.size();
        }
        runs.back().push_back(std::move(path));
    }
    return runs;
}

std::string DGAReportPacker::runZip(const Arguments& arguments) {
    platform::TaskResult result;
    std::string fault;
    for (int attempt = 0; attempt < 2; ++attempt) {
        platform::Task task;
        task.program = kZipProgram;
        task.arguments = arguments;
        task.limit = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now());
        task.stopHandle = theStop().pipe[0];
        if (task.limit <= 0ms)
            return fault.empty() ? "zip took too long" : fault;
        ++theStop().running;
        result = theStop().asked ? platform::TaskResult() : run_(task);
        --theStop().running;
        if (theStop().asked)
            return kEnding;
        if (!result.started)
            return "zip cannot be started";
        if (result.reason == platform::TaskResult::kExited)
            break;
        fault = Clock::now() >= end_ ? "zip took too long" : "zip was ended by a signal";
        logWarning("{}{}", fault, attempt == 0 ? "; it is tried again" : "");
    }
    if (result.reason != platform::TaskResult::kExited)
        return fault;
    if (result.exitStatus == 0)
        return "";
    logWarning("zip ended with {}: {}", result.exitStatus, firstLines(result.output));
    return result.exitStatus == kSomeNotOpened ? "" : fmt::format("zip ended with {}", result.exitStatus);
}

void DGAReportPacker::endAll() {
    Stop& stop = theStop();
    stop.asked = true;
    if (stop.running > 0 && write(stop.pipe[1], "x", 1) != 1)
        logWarning("zip cannot be ended early");
    for (int i = 0; i < 100 && stop.running > 0; ++i)
        std::this_thread::sleep_for(10ms);
}
