#include "platform/CoredumpRecord.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/OpenFolder.h"
#include "platform/PrivateFolder.h"
#include "platform/Report.h"
#include "platform/SmallFile.h"
#include "platform/Task.h"
#include "platform/Text.h"

namespace platform {
namespace {

constexpr std::string_view kServiceName = "systemd-coredum";  // the kernel cuts names
constexpr std::chrono::seconds kLongestWait{10};
constexpr std::chrono::seconds kShortestWait{1};
constexpr std::chrono::milliseconds kAskAgain{250};
constexpr size_t kTimeLength = 19;
constexpr size_t kMaxStackLength = size_t{256} * 1024;

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r") == std::string_view::npos;
}

bool isNumber(std::string_view text) {
    return !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == std::string::npos;
}

// "Fri 2024-03-15 14:30:25 UTC (2min ago)" -> "2024-03-15 14:30:25"
std::string timeIn(std::string_view text) {
    constexpr std::string_view kShape = "0000-00-00 00:00:00";
    for (size_t at = 0; at + kTimeLength <= text.size(); ++at) {
        const std::string_view part = text.substr(at, kTimeLength);
        if (std::equal(part.begin(), part.end(), kShape.begin(),
                       [](char c, char shape) { return shape == '0' ? c >= '0' && c <= '9' : c == shape; }))
            return std::string(part);
    }
    return {};
}

// When the program was loaded: the client was alive then.
const std::time_t theStart = std::time(nullptr);

std::string listingOf(const std::string& processId, const std::string& service) {
    Task task;
    // Its words are read, so they have to be the untranslated ones.
    task.program = "/usr/bin/env";
    task.arguments = {"LC_ALL=C.UTF-8", service, "info",
                      "--no-pager",     "-1",    "--since=@" + std::to_string(theStart),
                      processId};
    // A dump of gigabytes can keep the service busy; the report does not wait for it.
    task.limit = std::chrono::seconds(5);
    return runTask(task).output;
}

// A dump is written by a process of the service's name.
bool isAtWork(const std::string& procRoot) {
    const int proc = open(procRoot.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const auto processes = proc < 0 ? std::vector<std::string>() : namesInOpenFolder(proc);
    if (proc >= 0)
        close(proc);
    return std::any_of(processes.begin(), processes.end(), [&procRoot](const std::string& process) {
        const auto name =
            isNumber(process) ? readSmallFile(procRoot + "/" + process + "/comm", 64) : std::nullopt;
        return name && name->starts_with(kServiceName);
    });
}

std::optional<CoredumpRecord> recordOf(const std::string& processId, const CoredumpService& service) {
    const auto begin = std::chrono::steady_clock::now();
    for (;;) {
        // Before it is asked: what it finishes meanwhile is in its answer.
        const bool atWork = isAtWork(service.procRoot);
        auto record = CoredumpRecord::parse(listingOf(processId, service.program));
        if (record && record->processId == processId)
            return record;
        const auto waited = std::chrono::steady_clock::now() - begin;
        if (waited >= (atWork ? kLongestWait : kShortestWait))
            return std::nullopt;
        std::this_thread::sleep_for(kAskAgain);
    }
}

bool makeFolders(const std::string& path) {
    return g_mkdir_with_parents(path.c_str(), S_IRWXU) == 0;
}

}  // namespace

std::optional<CoredumpRecord> CoredumpRecord::parse(std::string_view listing) {
    CoredumpRecord record;
    std::string_view ofThisOne = listing;
    bool inStack = false;
    while (!listing.empty()) {
        const size_t end = std::min(listing.find('\n'), listing.size());
        const std::string_view line = listing.substr(0, end);
        const std::string_view fromHere = listing;
        listing.remove_prefix(std::min(end + 1, listing.size()));
        const std::string_view text = trimmed(line);
        const size_t colon = text.find(": ");
        const std::string_view key = colon == std::string_view::npos ? text : text.substr(0, colon);
        const std::string_view value = colon == std::string_view::npos ? "" : trimmed(text.substr(colon + 2));
        if (key == "PID") {
            record = {};
            ofThisOne = fromHere;
            record.processId = value.substr(0, value.find(' '));
            inStack = false;
        } else if (text.starts_with("Stack trace of thread ")) {
            inStack = true;
        } else if (!inStack && key == "Signal") {
            record.signal = value;
        } else if (!inStack && key == "Timestamp") {
            record.time = timeIn(value);
        } else if (!inStack && key == "Executable") {
            record.executable = value;
        }
        if (inStack && !isBlank(line) && record.stack.size() + text.size() < kMaxStackLength)
            record.stack.append(text).append("\n");
    }
    if (!isNumber(record.processId) || record.signal.empty() || record.time.empty())
        return std::nullopt;
    record.modules = coredumpModules(ofThisOne);
    return record;
}

std::string CoredumpRecord::text() const {
    std::string text = "Process: " + processId + "\nExecutable: " + executable + "\nDate: " + time +
                       "\nSignal: " + signal + "\n";
    return stack.empty() ? text : text + "\n" + stack;
}

std::string CoredumpRecord::fileName(std::string_view prefix, std::string_view host) const {
    std::string name = time;
    std::erase(name, ':');
    std::replace(name.begin(), name.end(), ' ', '-');
    std::string cleanHost(host);
    std::replace(cleanHost.begin(), cleanHost.end(), '/', '_');
    return std::string(prefix) + name + "_" + cleanHost + ".crash";
}

std::vector<CoredumpModule> writeCoredumpRecord(const std::string& processId, const std::string& folder,
                                                std::string_view prefix, const CoredumpService& service) {
    static std::mutex mutex;
    static auto* const done = new std::map<std::string, std::vector<CoredumpModule>>;
    if (!isNumber(processId) || access(("/proc/" + processId + "/exe").c_str(), F_OK) == 0)
        return {};
    const std::lock_guard<std::mutex> hold(mutex);
    if (const auto known = done->find(processId); known != done->end())
        return known->second;
    if (access(service.program.c_str(), X_OK) != 0) {
        (*done)[processId] = {};
        reportInfo("this system has no core dump service to ask about the client's crash");
        return {};
    }
    auto record = recordOf(processId, service);
    if (!record) {
        reportInfo("the core dump service knows no crash of the process " + processId);
        return {};
    }
    completeModules(record->modules, record->executable, theStart);
    (*done)[processId] = record->modules;
    const auto target = makeFolders(folder) ? PrivateFolder::openLast(folder) : std::nullopt;
    if (!target || !target->replaceFile(record->fileName(prefix, g_get_host_name()), record->text()))
        reportWarning("the crash of the process " + processId + " cannot be written to " + folder);
    return record->modules;
}

}  // namespace platform
