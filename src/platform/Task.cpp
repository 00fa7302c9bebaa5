#include "platform/Task.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/BundleInfo.h"
#include "platform/Handle.h"
#include "platform/Report.h"
#include "platform/TaskEnvironment.h"

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kGraceForLeftBehind{500};
// How often a system without pidfd_open is asked whether the program has ended.
constexpr std::chrono::milliseconds kAskAgain{20};
constexpr int64_t kLongestPoll = 3600000;

struct Child {
    pid_t pid = -1;
    Handle output;  // none where it goes into a handle
    Handle stop;
    Task::Output kind = Task::Output::collect;
    std::optional<Clock::time_point> end;
};

bool hasNul(const Task& task) {
    const auto nul = [](const std::string& text) { return text.find('\0') != std::string::npos; };
    return nul(task.program) || nul(task.workingFolder) ||
           std::any_of(task.arguments.begin(), task.arguments.end(), nul);
}

// What posix_spawn is told; freed with this object.
struct SpawnOrders {
    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};

    SpawnOrders() {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(&attributes,
                                 POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
    }
    ~SpawnOrders() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnOrders(const SpawnOrders&) = delete;
    SpawnOrders& operator=(const SpawnOrders&) = delete;

    int direct(const Task& task, int input, int output) {
        int error = posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
        const bool errorToo = task.output == Task::Output::collect || task.output == Task::Output::discard;
        if (error == 0 && errorToo)
            error = posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
        if (error == 0)
            error = input >= 0
                        ? posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO)
                        : posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        if (error == 0)
            error = posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
        if (error == 0 && !task.workingFolder.empty())
            error = posix_spawn_file_actions_addchdir_np(&actions, task.workingFolder.c_str());
        return error;
    }
};

// A file without a name that holds the text.
int openInput(const std::string& text, Handle& input) {
    input = Handle(memfd_create("input", MFD_CLOEXEC));
    if (input.get() < 0 ||
        write(input.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        lseek(input.get(), 0, SEEK_SET) != 0)
        return errno != 0 ? errno : EIO;
    return 0;
}

int spawn(const Task& task, Child& child) {
    if (hasNul(task))
        return EINVAL;
    Handle input;
    if (!task.input.empty()) {
        if (const int error = openInput(task.input, input); error != 0)
            return error;
    }
    Handle childsEnd;
    if (task.output != Task::Output::toHandle) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            return errno;
        child.output = Handle(ends[0]);
        childsEnd = Handle(ends[1]);
        if (fcntl(ends[0], F_SETFL, O_NONBLOCK) != 0)
            return errno;
    }
    SpawnOrders orders;
    const int error = orders.direct(task, input.get(), childsEnd.get() >= 0 ? childsEnd.get() : task.handle);
    if (error != 0)
        return error;
    std::vector<char*> arguments{const_cast<char*>(task.program.c_str())};
    for (const auto& argument : task.arguments)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    std::vector<std::string> kept = taskEnvironment(task.surroundings);
    std::vector<char*> environment;
    environment.reserve(kept.size() + 1);
    for (auto& variable : kept)
        environment.push_back(variable.data());
    environment.push_back(nullptr);
    return posix_spawn(&child.pid, task.program.c_str(), &orders.actions, &orders.attributes,
                       arguments.data(), environment.data());
}

std::optional<Child> start(const Task& task) {
    Child child;
    child.kind = task.output;
    if (task.stopHandle >= 0)
        child.stop = Handle(fcntl(task.stopHandle, F_DUPFD_CLOEXEC, 0));
    if (task.limit.count() > 0)
        child.end = Clock::now() + task.limit;
    const int error = spawn(task, child);
    if (error == 0) {
        const rlimit size{task.largestFile, task.largestFile};
        if (task.largestFile > 0 && prlimit(child.pid, RLIMIT_FSIZE, &size, nullptr) != 0)
            reportNotice("the size of what " + task.program + " writes is not limited");
        return child;
    }
    reportWarning("cannot start " + task.program + ": " + std::generic_category().message(error));
    return std::nullopt;
}

// Reads one bufferful. False at the end of the output.
bool readSome(Child& child, TaskResult& result) {
    std::array<char, 65536> buffer;
    const ssize_t count = read(child.output.get(), buffer.data(), buffer.size());
    if (count < 0)
        return errno == EINTR || errno == EAGAIN;
    if (count == 0)
        return false;
    if (child.kind == Task::Output::collect) {
        const size_t kept = std::min(static_cast<size_t>(count), kMostOutput - result.output.size());
        result.output.append(buffer.data(), kept);
        result.outputCut = result.outputCut || kept < static_cast<size_t>(count);
    }
    return true;
}

// Whether the program has ended; then it is reaped and the result says how.
bool reap(pid_t pid, TaskResult& result) {
    int status = 0;
    const pid_t ended = waitpid(pid, &status, WNOHANG);
    if (ended == 0 || (ended < 0 && errno == EINTR))
        return false;
    // Only a program that ignores SIGCHLD loses a status, which then counts as 0.
    result.reason = ended == pid && WIFSIGNALED(status) ? TaskResult::kSignalled : TaskResult::kExited;
    result.exitStatus = ended == pid && WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    return true;
}

int timeoutUntil(const std::optional<Clock::time_point>& end) {
    if (!end)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*end - Clock::now()).count();
    return static_cast<int>(std::clamp<int64_t>(left, 0, kLongestPoll));
}

void waitForEnd(Child& child, TaskResult& result) {
    const Handle ending(static_cast<int>(syscall(SYS_pidfd_open, child.pid, 0)));
    bool killed = false;
    bool stopped = false;
    while (!reap(child.pid, result)) {
        const bool late = child.end && Clock::now() >= *child.end;
        if (!killed && (late || stopped)) {
            if (late)
                reportWarning("a tool took too long and is killed");
            // Not yet reaped, so that its process id still names its group.
            kill(-child.pid, SIGKILL);
            killed = true;
        }
        // A negative handle is one that poll passes over.
        std::array<pollfd, 3> watched{{{child.output.get(), POLLIN, 0},
                                       {ending.get(), POLLIN, 0},
                                       {stopped ? -1 : child.stop.get(), POLLIN, 0}}};
        int timeout = killed ? -1 : timeoutUntil(child.end);
        if (ending.get() < 0 && (timeout < 0 || timeout > kAskAgain.count()))
            timeout = static_cast<int>(kAskAgain.count());
        poll(watched.data(), watched.size(), timeout);
        if (watched[0].revents != 0 && !readSome(child, result))
            child.output.reset();
        stopped = stopped || watched[2].revents != 0;
    }
}

// What the program wrote is in the pipe, which one bufferful empties; what it left behind may write more.
void readRest(Child& child, TaskResult& result) {
    const auto end = Clock::now() + kGraceForLeftBehind;
    while (child.output.get() >= 0 && readSome(child, result)) {
        const int left = timeoutUntil(end);
        pollfd watched{child.output.get(), POLLIN, 0};
        if (left == 0 || poll(&watched, 1, left) == 0)
            return;
    }
}

TaskResult finish(Child child) {
    TaskResult result;
    result.started = true;
    waitForEnd(child, result);
    readRest(child, result);
    return result;
}

}  // namespace

TaskResult runTask(const Task& task) {
    auto child = start(task);
    return child ? finish(std::move(*child)) : TaskResult();
}

bool startTask(const Task& task, std::function<void(const TaskResult&)> ended) {
    auto child = start(task);
    if (!child)
        return false;
    std::thread([child = std::move(*child), ended = std::move(ended)]() mutable {
        const TaskResult result = finish(std::move(child));
        if (ended)
            ended(result);
    }).detach();
    return true;
}

std::string programForCommand(const std::string& path) {
    if (access(path.c_str(), F_OK) == 0)
        return path;
    const std::string name = path.substr(path.rfind('/') + 1);
    const std::string bundled = BundleInfo::helperFolder() + "/" + name;
    struct stat info {};
    return stat(bundled.c_str(), &info) == 0 && S_ISREG(info.st_mode) ? bundled : path;
}

}  // namespace platform
