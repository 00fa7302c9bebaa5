#include "platform/Task.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>

#include "DGAMonitor/Report/DGASystemProfileExtractor.h"
#include "DGAMonitor/Utilities/DGAUtilitiesProgram.h"
#include "DGAMonitor/Utilities/Tool/DGATaskTool.h"
#include "platform/BundleInfo.h"
#include "platform/HomePath.h"
#include "platform/PrivateFolder.h"
#include "reportproblem/DGAScreenshotExtractor.h"
#include "reportproblem/ZipShellCommand.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using platform::Task;
using platform::TaskResult;
using testing::ElementsAre;
using Clock = std::chrono::steady_clock;

Task shell(const std::string& script) {
    Task task;
    task.program = "/bin/sh";
    task.arguments = {"-c", script};
    return task;
}

std::string content(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

TEST(TaskTest, TellsHowAProgramEnded) {
    const struct {
        const char* script;
        int reason, exitStatus;
        const char* output;
    } cases[] = {
        {"true", 1, 0, ""},
        {"exit 3", 1, 3, ""},
        {"kill -9 $$", 2, 0, ""},
        {"echo before; kill -TERM $$", 2, 0, "before\n"},
        {"echo out; echo err >&2; cat", 1, 0, "out\nerr\n"},
        {"echo late; exec >&- 2>&-; sleep 0.2; exit 4", 1, 4, "late\n"},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.script);
        const TaskResult result = platform::runTask(shell(item.script));
        EXPECT_TRUE(result.started);
        EXPECT_EQ(result.reason, item.reason);
        EXPECT_EQ(result.exitStatus, item.exitStatus);
        EXPECT_EQ(result.output, item.output);
    }
}

TEST(TaskTest, SaysWhatCannotBeStarted) {
    std::ofstream("/tmp/no-program") << "text";
    Task inNoFolder = shell("true");
    inNoFolder.workingFolder = "/nonexistent";
    Task cutArgument = shell("true");
    cutArgument.arguments.emplace_back("a\0b", 3);
    Task missing;
    missing.program = "/nonexistent/program";
    Task notExecutable;
    notExecutable.program = "/tmp/no-program";
    for (const auto& task : {inNoFolder, cutArgument, missing, notExecutable, Task()}) {
        EXPECT_FALSE(platform::runTask(task).started) << task.program;
        EXPECT_FALSE(platform::startTask(task, [](const TaskResult&) { FAIL(); })) << task.program;
    }
}

TEST(TaskTest, ReadsWhileTheProgramRuns) {
    TaskResult result = platform::runTask(shell("head -c 10000000 /dev/zero; echo end"));
    EXPECT_EQ(result.output.size(), 10000004U);
    EXPECT_TRUE(result.output.ends_with("end\n"));
    EXPECT_FALSE(result.outputCut);

    result = platform::runTask(shell("head -c 20000000 /dev/zero; exit 5"));
    EXPECT_EQ(result.output.size(), platform::kMostOutput);
    EXPECT_TRUE(result.outputCut);
    EXPECT_EQ(result.exitStatus, 5) << "the rest is read, too";

    for (const auto output : {Task::Output::discard, Task::Output::discardOutput}) {
        Task task = shell("head -c 1000000 /dev/zero; exit 6");
        task.output = output;
        result = platform::runTask(task);
        EXPECT_EQ(result.exitStatus, 6);
        EXPECT_EQ(result.output, "");
    }
}

// A timer that interrupts every call that can be.
TEST(TaskTest, GoesOnWhenItIsInterrupted) {
    struct sigaction quiet {};
    struct sigaction before {};
    quiet.sa_handler = [](int) {};
    sigaction(SIGALRM, &quiet, &before);
    const itimerval often{{0, 500}, {0, 500}};
    const itimerval never{};
    setitimer(ITIMER_REAL, &often, nullptr);
    const TaskResult result =
        platform::runTask(shell("sleep 0.1; head -c 300000 /dev/zero; sleep 0.1; exit 3"));
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(result.output.size(), 300000U);
    EXPECT_EQ(result.exitStatus, 3);
}

TEST(TaskTest, GivesTheProgramACleanStart) {
    // Handles of ours, one of them without the close-on-exec flag, and signals that we ignore or block.
    const int leaky = open("/etc/passwd", O_RDONLY);
    ASSERT_EQ(fcntl(leaky, F_DUPFD, 100), 100);
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    // "ls" itself opens the folder: one handle more than the three.
    const std::string handles = platform::runTask(shell("exec ls -l /proc/self/fd")).output;
    const std::string signals =
        platform::runTask(shell("exec grep -E '^Sig(Ign|Blk)' /proc/self/status")).output;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    close(100);
    close(leaky);
    EXPECT_EQ(handles.find("passwd"), std::string::npos) << handles;
    EXPECT_EQ(std::count(handles.begin(), handles.end(), '\n'), 5) << handles;
    unsigned long long held = 1;
    unsigned long long ignored = 1;
    ASSERT_EQ(std::sscanf(signals.c_str(), "SigBlk:%llx SigIgn:%llx", &held, &ignored), 2) << signals;
    EXPECT_EQ(held, 0U);
    // 32 and 33 are the C library's own.
    EXPECT_EQ(ignored & ~0x180000000ULL, 0U) << signals;
    EXPECT_EQ(platform::runTask(shell("umask")).output, "0077\n");
}

TEST(TaskTest, EndsWhatWritesTooMuch) {
    const std::string path = "/tmp/endless";
    Task task = shell("sleep 0.2; yes > " + path);
    task.largestFile = 100000;
    task.limit = 20s;
    const TaskResult result = platform::runTask(task);
    EXPECT_NE(result.exitStatus == 0 && result.reason == TaskResult::kExited, true);
    EXPECT_EQ(content(path).size(), 100000U);
}

TEST(TaskTest, EndsWhatTakesTooLong) {
    Task task = shell("sleep 60 & echo $!; sleep 60");
    task.limit = 300ms;
    const auto start = Clock::now();
    testing::internal::CaptureStderr();
    const TaskResult result = platform::runTask(task);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("took too long"), std::string::npos);
    EXPECT_LT(Clock::now() - start, 20s);
    EXPECT_EQ(result.reason, TaskResult::kSignalled);
    const auto left = static_cast<pid_t>(std::stol(result.output));
    for (int i = 0;
         i < 100 && content("/proc/" + std::to_string(left) + "/stat").find(" S ") != std::string::npos; ++i)
        usleep(20000);
    EXPECT_EQ(content("/proc/" + std::to_string(left) + "/stat").find(" S "), std::string::npos)
        << "the whole group is ended";
}

TEST(TaskTest, DoesNotWaitForWhatAProgramLeavesBehind) {
    for (const char* script : {"echo here; sleep 60 &", "echo here; (while :; do echo more; done) &"}) {
        const auto start = Clock::now();
        Task task = shell(script);
        const TaskResult result = platform::runTask(task);
        EXPECT_LT(Clock::now() - start, 20s) << script;
        EXPECT_TRUE(result.output.starts_with("here\n")) << script;
        EXPECT_EQ(result.reason, TaskResult::kExited) << script;
    }
}

TEST(TaskTest, WaitsForItsOwnProgramOnly) {
    const pid_t other = fork();
    if (other == 0)
        _exit(7);
    EXPECT_EQ(platform::runTask(shell("sleep 0.2; exit 8")).exitStatus, 8);
    int status = 0;
    EXPECT_EQ(waitpid(other, &status, 0), other) << "somebody else's child is not reaped";
}

TEST(TaskTest, FallsBackOnTheBundledTool) {
    const std::string helpers = platform::BundleInfo::helperFolder();
    EXPECT_EQ(platform::programForCommand("/nonexistent/sw_vers"), helpers + "/sw_vers");
    EXPECT_EQ(platform::programForCommand("/bin/sh"), "/bin/sh");
    for (const char* path : {"/nonexistent/other", "/nonexistent/", "", "/nonexistent/.."})
        EXPECT_EQ(platform::programForCommand(path), path);
    const auto version = DGATaskTool::runTaskWithCMD("/nonexistent/sw_vers -productVersion");
    ASSERT_TRUE(version);
    EXPECT_TRUE(version->size() > 1 && version->ends_with('\n')) << *version;
    EXPECT_EQ(DGAUtilities::dga_fetchOSVersion(), *version);
}

TEST(TaskToolTest, RunsACommandLine) {
    std::ofstream("/tmp/arguments") << "#!/bin/sh\nfor a; do printf '[%s]' \"$a\"; done\n";
    std::ofstream("/tmp/bytes") << "#!/bin/sh\nprintf '\\303\\050'\n";
    std::ofstream("/tmp/zero") << "#!/bin/sh\nprintf 'a\\000b'\n";
    std::ofstream("/tmp/cut") << "#!/bin/sh\nprintf x; yes \xC3\xA4 | tr -d '\\n' | head -c 17000000\n";
    for (const char* path : {"/tmp/arguments", "/tmp/bytes", "/tmp/zero", "/tmp/cut"})
        chmod(path, 0700);
    const std::string folder = platform::BundleInfo::resourceFolder();
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"/tmp/arguments  -x", "[][-x]"},
        {"/tmp/arguments a\t\tb ", "[a][][b][]"},
        {"/tmp/arguments 'a b' $HOME;true|*", "['a][b'][$HOME;true|*]"},
        {"/tmp/arguments", ""},
        {"/bin/pwd", folder + "\n"},
        {"/tmp/bytes", std::nullopt},
        {"/tmp/zero", std::string("a\0b", 3)},
        {"/nonexistent/program", ""},
        {"", ""},
        {" /bin/pwd", ""},
    };
    for (const auto& [line, output] : cases)
        EXPECT_EQ(DGATaskTool::runTaskWithCMD(line), output) << line;
    const auto cut = DGATaskTool::runTaskWithCMD("/tmp/cut");
    ASSERT_TRUE(cut) << "a character that is cut at the end does not spoil the text";
    EXPECT_EQ(cut->size(), platform::kMostOutput - 1);
}

TEST(TaskToolTest, TellsTheHandlerOnce) {
    const auto reasonsOf = [](const std::string& path,
                              const std::optional<std::vector<std::string>>& arguments) {
        std::vector<int> reasons;
        DGATaskTool::dga_runTaskWithCMD(path, arguments, [&](int reason) { reasons.push_back(reason); });
        return reasons;
    };
    EXPECT_THAT(reasonsOf("/bin/sh", {{"-c", "head -c 300000 /dev/zero; exit 9"}}), ElementsAre(1));
    EXPECT_THAT(reasonsOf("/bin/sh", {{"-c", "kill -KILL $$"}}), ElementsAre(2));
    EXPECT_THAT(reasonsOf("/bin/pwd", std::nullopt), ElementsAre(1));
    EXPECT_THAT(reasonsOf("/nonexistent/program", std::nullopt), ElementsAre());
    DGATaskTool::dga_runTaskWithCMD("/bin/sh", {{"-c", "echo > /tmp/ran"}}, nullptr);
    EXPECT_TRUE(fs::exists("/tmp/ran"));
}

TEST(TaskToolTest, RunsNothingWithoutTheResourceFolder) {
    const std::string folder = platform::BundleInfo::resourceFolder();
    const std::string aside = folder + ".aside";
    fs::rename(folder, aside);
    const auto output = DGATaskTool::runTaskWithCMD("/bin/pwd");
    int calls = 0;
    DGATaskTool::dga_runTaskWithCMD("/bin/pwd", std::nullopt, [&](int) { ++calls; });
    fs::rename(aside, folder);
    EXPECT_EQ(output, "");
    EXPECT_EQ(calls, 0);
}

TEST(ZipTest, BuildsItsArguments) {
    const std::string home = getenv("HOME");
    setenv("HOME", "/home/of-test", 1);
    const ZipShellCommand zip;
    EXPECT_THAT(zip.getZipCommandArgumentsWithFilesToBeCompressed({"~/a.ovt", "", "/tmp/b.ovt"}, "/tmp/Log"),
                ElementsAre("-jr", "/tmp/Log", "/home/of-test/a.ovt", "/tmp/b.ovt"));
    EXPECT_EQ(zip.getTargetZipFilePathWithName("Log", "~"), "/home/of-test/Log");
    EXPECT_EQ(zip.getTargetZipFilePathWithName("Log", "/tmp"), "/tmp/Log");
    const std::pair<const char*, const char*> paths[] = {{"~root/x", "/root/x"},
                                                         {"~no-such-user/x", "~no-such-user/x"},
                                                         {"/a/~/b", "/a/~/b"},
                                                         {"~/", "/home/of-test/"},
                                                         {"", ""}};
    for (const auto& [path, expanded] : paths)
        EXPECT_EQ(platform::expandTilde(path), expanded);
    unsetenv("HOME");
    EXPECT_EQ(platform::expandTilde("~/notes"), getpwuid(geteuid())->pw_dir + std::string("/notes"));
    setenv("HOME", home.c_str(), 1);
}

TEST(ZipTest, PacksWithoutWaiting) {
    fs::create_directories("/tmp/zip");
    std::ofstream("/tmp/zip/-a file") << "content";
    std::promise<int> ended;
    ZipShellCommand().zipFiles({"/tmp/zip/-a file", "/tmp/zip/missing"}, "Packed", "/tmp/zip",
                               [&](int reason) { ended.set_value(reason); });
    auto reason = ended.get_future();
    ASSERT_EQ(reason.wait_for(30s), std::future_status::ready);
    EXPECT_EQ(reason.get(), 1);
    const std::string listing = platform::runTask(shell("zip -sf /tmp/zip/Packed.zip")).output;
    EXPECT_NE(listing.find("\n  -a file\n"), std::string::npos) << listing;
}

TEST(ScreenshotTest, BuildsItsArguments) {
    const struct {
        const char *frames, *version;
        std::vector<std::string> arguments;
    } cases[] = {
        {"full 0 0 1440 900\nvisible 0 70 1440 807\n", "12\n", {"-R", "0,0,1440,830", "-x", "/p.png"}},
        {"full 0 0 1440 900\nvisible 64 0 1376 873\n", "", {"-R", "64,0,1376,900", "-x", "/p.png"}},
        {"full 0 0 800.4 600.6\nvisible 0.6 0.2 799.5 600\n", "12", {"-R", "1,0,800,600", "-x", "/p.png"}},
        {"full 0 0 1440 900\nvisible 0 70 1440 807\n", "10.9.5\n", {"-x", "/p.png"}},
        {"full 0 0 1440 900\nvisible 0 70 1440 807\n", "10.10.9", {"-x", "/p.png"}},
        {"full 0 0 1440 900\nvisible 0 70 1440 807\n", "10.10", {"-R", "0,0,1440,830", "-x", "/p.png"}},
        {"", "12", {"-R", "0,0,0,0", "-x", "/p.png"}},
        {"full 0 0 1440 900\n", "12", {"-R", "0,0,0,0", "-x", "/p.png"}},
        {"visible 0 0 1 1\nfull 0 0 1 1\n", "12", {"-R", "0,0,0,0", "-x", "/p.png"}},
    };
    for (const auto& item : cases) {
        const auto frames = platform::screenFramesFrom(item.frames);
        EXPECT_EQ(DGAScreenshotExtractor::screenshotArguments(frames, item.version, "/p.png"), item.arguments)
            << item.frames << item.version;
    }
}

TEST(CaptureTest, LeavesNoPictureWithoutADisplay) {
    fs::create_directories("/tmp/orvdga");
    EXPECT_EQ(DGAScreenshotExtractor().generateScreenshot("/tmp/orvdga/shot.png"), "there is no display");
    EXPECT_FALSE(fs::exists("/tmp/orvdga/shot.png"));
}

TEST(CaptureTest, WritesTheProfileSafely) {
    fs::remove_all("/tmp/orvdga");
    fs::create_directories("/tmp/orvdga/run");
    const std::string path = "/tmp/orvdga/run/profile.spx";
    std::ofstream(path) << std::string(1000000, 'x');
    DGASystemProfileExtractor::generateSystemProfiler(path, "basic");
    EXPECT_TRUE(content(path).starts_with("<?xml"));
    EXPECT_TRUE(content(path).ends_with("</plist>\n")) << "nothing is left of the older file";
    struct stat info {};
    stat(path.c_str(), &info);
    EXPECT_EQ(info.st_mode & 0777U, 0600U);

    std::ofstream("/tmp/precious") << "precious";
    fs::remove(path);
    fs::create_symlink("/tmp/precious", path);
    DGASystemProfileExtractor::generateSystemProfiler(path, "basic");
    fs::remove(path);
    fs::create_hard_link("/tmp/precious", path);
    DGASystemProfileExtractor::generateSystemProfiler(path, "basic");
    fs::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    DGASystemProfileExtractor::generateSystemProfiler(path, "basic");
    fs::rename("/tmp/orvdga", "/tmp/elsewhere");
    fs::create_directory_symlink("/tmp/elsewhere", "/tmp/orvdga");
    DGASystemProfileExtractor::generateSystemProfiler("/tmp/orvdga/run/other.spx", "basic");
    EXPECT_FALSE(fs::exists("/tmp/elsewhere/run/other.spx"));
    EXPECT_EQ(content("/tmp/precious"), "precious");
    fs::remove("/tmp/orvdga");

    const std::string elsewhere = std::string(getenv("HOME")) + "/profile.spx";
    fs::create_directories(getenv("HOME"));
    DGASystemProfileExtractor::generateSystemProfiler(elsewhere, "no such level");
    EXPECT_EQ(content(elsewhere), "") << "a failing tool leaves an empty file";
}

}  // namespace
