#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMeetingData/DGASystemResourceCheckingManager.h"
#include "DGAMeetingData/DGAUtilitiesResources.h"
#include "DGAMeetingData/HealthCheckerSystemInfoGetter.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "platform/ProcessListing.h"
#include "platform/WorkQueue.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Records = std::vector<DGAProcessRecord>;

constexpr char kNoProcess[] = "2147483647";

void writeFile(const fs::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

struct Task {
    int pid;
    std::string name = "task";
    std::string executable = "/bin/task";
    std::string commandLine{};
    int ticks = 0;
    int startTicks = 0;
    int residentPages = 0;
    char state = 'S';
};

/// A /proc folder as a machine may show it.
class ProcTree : public testing::Test {
protected:
    void SetUp() override { fs::create_directory(kRoot); }
    void TearDown() override { fs::remove_all(kRoot); }

    static void setUptime(const std::string& seconds) { writeFile(kRoot / "uptime", seconds + " 1.00\n"); }

    static fs::path add(const Task& task) {
        const fs::path folder = kRoot / std::to_string(task.pid);
        fs::remove_all(folder);
        fs::create_directory(folder);
        std::ofstream(folder / "stat")
            << task.pid << " (" << task.name << ") " << task.state << " 1 1 1 0 -1 4194304 101 0 0 0 "
            << task.ticks << " 0 0 0 20 0 1 0 " << task.startTicks << " 3133440 " << task.residentPages
            << " 18446744073709551615 1 1 0 0\n";
        writeFile(folder / "cmdline", task.commandLine);
        if (!task.executable.empty())
            fs::create_symlink(task.executable, folder / "exe");
        return folder;
    }

    static inline const fs::path kRoot = "/tmp/recorded-proc";
};

TEST_F(ProcTree, ListingNamesEveryKindOfTask) {
    std::string longPath;
    while (longPath.size() < 3990)
        longPath += "/" + std::string(200, 'd');
    const std::pair<Task, std::string> cases[] = {
        {{.pid = 2, .executable = "/opt/with blank/two  blanks"}, "/opt/with blank/two  blanks"},
        {{.pid = 3, .executable = "/tmp/a\n9 99.0 9 /b"}, "/tmp/a?9 99.0 9 /b"},
        {{.pid = 4, .executable = "/opt/old (deleted)"}, "/opt/old"},
        {{.pid = 5, .executable = "/opt/caf\xC3\xA9"}, "/opt/caf\xC3\xA9"},
        {{.pid = 6, .executable = "/opt/caf\xE9"}, "/opt/caf?"},
        {{.pid = 7, .executable = "", .commandLine = std::string("/sbin/other\0-x /y", 17)}, "/sbin/other"},
        {{.pid = 8, .name = "nginx", .executable = "", .commandLine = "nginx: worker /z"}, "nginx"},
        {{.pid = 9, .name = "kworker/0:1-ev", .executable = ""}, "kworker:0:1-ev"},
        {{.pid = 10, .name = "a) R 1 (b", .executable = ""}, "a) R 1 (b"},
        {{.pid = 11, .name = "a\n9 9 9 /b", .executable = ""}, "a?9 9 9 :b"},
        {{.pid = 12, .executable = longPath + "/long name"}, "/long name"},
    };
    setUptime("100.00");
    for (const auto& [task, command] : cases)
        add(task);
    const auto lines = linesOf(platform::ProcessListing(kRoot).read().value_or(""));
    ASSERT_EQ(lines.size(), std::size(cases) + 1);
    for (size_t i = 0; i < std::size(cases); ++i) {
        const auto& [task, command] = cases[i];
        const std::string start = std::to_string(task.pid) + " 0.0 0 ";
        const std::string& line = lines[i + 1];
        EXPECT_LE(line.size(), 4094U);
        EXPECT_TRUE(task.pid == 12 ? line.starts_with(start) && line.ends_with(command)
                                   : line == start + command)
            << line;
    }
}

TEST_F(ProcTree, ListingRatesTheRecentPast) {
    platform::ProcessListing listing(kRoot);
    const auto read = [&](const std::string& uptime) {
        setUptime(uptime);
        return listing.read().value_or("");
    };
    const std::string heading = "PID %CPU RSS COMM\n";
    const std::string kilobytes = std::to_string(3 * sysconf(_SC_PAGESIZE) / 1024);
    add({.pid = 10, .ticks = 1000});
    add({.pid = 20, .ticks = 80, .startTicks = 9900, .residentPages = 3});
    EXPECT_EQ(read("100.00"), heading + "20 80.0 " + kilobytes + " /bin/task\n10 10.0 0 /bin/task\n")
        << "over the lives of 1 s and 100 s";

    add({.pid = 10, .ticks = 1000 + 1250});
    add({.pid = 20, .ticks = 100, .startTicks = 10000});
    add({.pid = 30, .ticks = 100, .startTicks = 10500});
    EXPECT_EQ(read("110.00"), heading + "10 125.0 0 /bin/task\n30 20.0 0 /bin/task\n20 10.0 0 /bin/task\n")
        << "over the last 10 s; a new process and a reused id over their lives";

    add({.pid = 10, .ticks = 1000 + 1251});
    EXPECT_EQ(read("110.01").substr(0, heading.size() + 8), heading + "10 125.0")
        << "a listing that follows at once measures from the same moment";

    add({.pid = 10, .ticks = 1000 + 1250 + 500});
    EXPECT_EQ(read("120.00").substr(0, heading.size() + 7), heading + "10 50.0") << "again over 10 s";
}

TEST_F(ProcTree, ListingLeavesOutWhatIsNotWhole) {
    EXPECT_FALSE(platform::ProcessListing(kRoot).read()) << "no uptime";
    setUptime("malformed");
    EXPECT_FALSE(platform::ProcessListing(kRoot).read());
    setUptime("100.00");
    fs::create_directory(kRoot / "1");
    fs::create_directory(kRoot / "acpi");
    for (const char* const stat : {"", "2 (x", "2 (x)", "2 (x) ", "2 )x( S 1", "2 (x) S 1 2 3",
                                   "2 (x) S 1 1 1 0 -1 4 1 0 0 0 y 0 0 0 20 0 1 0 7 3 4 5"}) {
        writeFile(add({.pid = 2}) / "stat", stat);
        add({.pid = 3});
        EXPECT_EQ(platform::ProcessListing(kRoot).read(), "PID %CPU RSS COMM\n3 0.0 0 /bin/task\n") << stat;
    }
}

TEST_F(ProcTree, ExecutablesAreThoseOfLiveProcesses) {
    add({.pid = 1, .executable = "/opt/a\nb (deleted)"});
    add({.pid = 2, .state = 'Z'});
    add({.pid = 3, .executable = ""});
    EXPECT_EQ(platform::executablePathOf(1, kRoot), "/opt/a?b");
    for (const int gone : {2, 3, 4})
        EXPECT_FALSE(platform::executablePathOf(gone, kRoot)) << gone;
    EXPECT_EQ(platform::executablePathOf(getpid()), fs::read_symlink("/proc/self/exe"));
    if (chown((kRoot / "1").c_str(), geteuid() + 1, static_cast<gid_t>(-1)) != 0)
        GTEST_SKIP() << "only root can give a process to another user";
    EXPECT_FALSE(platform::executablePathOf(1, kRoot)) << "another user's";
}

TEST_F(ProcTree, HostStatisticsFailOnWhatTheyCannotRead) {
    const std::string path = kRoot / "file";
    EXPECT_FALSE(platform::readCpuTicks(path));
    EXPECT_FALSE(platform::readMemoryPages(path));
    for (const char* const content :
         {"", "cpu  10 20 30 40\n", "cpu  10 x 30 40 5 6 7\n", "cpu0 10 20 30 40 5 6 7\n",
          "MemTotal: x kB\nActive: 8 kB\nInactive: x kB\n", "Active: 8 kB\nInactive(file): 8 kB\n"}) {
        writeFile(path, content);
        EXPECT_FALSE(platform::readCpuTicks(path)) << content;
        EXPECT_FALSE(platform::readMemoryPages(path)) << content;
        EXPECT_FALSE(platform::readPhysicalMemory(path)) << content;
    }
    writeFile(path, "cpu  10 20 30 40 5 6 7 8 0 0\ncpu0 1 1 1 1 1 1 1 1 0 0\n");
    const auto ticks = platform::readCpuTicks(path).value();
    EXPECT_EQ((std::array{ticks.user, ticks.system, ticks.idle, ticks.nice}),
              (std::array<uint32_t, 4>{10, 43, 45, 20}));
    writeFile(path,
              "MemTotal: 32768 kB\nActive: 8192 kB\nActive(file): 4 kB\nInactive: 4096 kB\n"
              "Unevictable: 1024 kB\nMlocked: 1024 kB\nSUnreclaim: 1024 kB\n");
    EXPECT_TRUE(platform::readPhysicalMemory(path));
    const auto pages = platform::readMemoryPages(path).value();
    const uint64_t perMebibyte = 1048576 / platform::pageSize();
    EXPECT_EQ((std::array{pages.active, pages.inactive, pages.wired}),
              (std::array{8 * perMebibyte, 4 * perMebibyte, 2 * perMebibyte}));
}

TEST(HealthChecker, CpuUsage) {
    const struct {
        platform::CpuTicks before, now;
        double usage;
    } cases[] = {
        {{}, {.user = 30, .system = 20, .idle = 50, .nice = 999}, 50.0},
        {{.user = 10, .system = 10, .idle = 10}, {.user = 10, .system = 10, .idle = 10, .nice = 5}, 0.0},
        {{.user = 0xFFFFFFF0, .system = 5, .idle = 0xFFFFFFFF}, {.user = 9, .system = 5, .idle = 74}, 25.0},
        {{.user = 1, .system = 1, .idle = 1}, {.user = 2, .system = 3, .idle = 1}, 100.0},
    };
    for (const auto& each : cases)
        EXPECT_DOUBLE_EQ(healthchecker::cpuUsage(each.before, each.now), each.usage);
}

TEST(HealthChecker, UsageOutOfRangeLeavesTheCallersWholeValue) {
    const struct {
        std::optional<double> usage;
        double before, after;
    } cases[] = {{100.0, 7.9, 100.0}, {0.0, 7.9, 7.0}, {100.5, -7.9, -7.0}, {std::nullopt, 250.9, 250.0}};
    for (const auto& each : cases)
        EXPECT_EQ(healthchecker::acceptedUsage(each.usage, each.before), each.after) << each.before;
}

// What /proc says, read in another way than the program does.
std::pair<double, double> busyAndAllTicks() {
    std::ifstream file("/proc/stat");
    std::string label;
    double field[7] = {};
    file >> label;
    for (double& ticks : field)
        file >> ticks;
    const double busy = field[0] + field[2] + field[5] + field[6];
    return {busy, busy + field[3] + field[4]};
}
double meminfoMebibytes(std::string_view key) {
    std::ifstream file("/proc/meminfo");
    for (std::string name, line; file >> name && std::getline(file, line);) {
        if (name == key)
            return std::stod(line) / 1024;
    }
    return 0;
}

void keepBusy() {
    for (const auto until = std::chrono::steady_clock::now() + 500ms;
         std::chrono::steady_clock::now() < until;) {
    }
}

TEST(HealthChecker, AgreesWithAnIndependentReadingOfThisMachine) {
    double usage = 0.0;
    GetOverallCPUUsage(usage);
    const auto [busyBefore, allBefore] = busyAndAllTicks();
    keepBusy();
    std::thread other([&usage] { GetOverallCPUUsage(usage); });
    other.join();
    const auto [busy, all] = busyAndAllTicks();
    EXPECT_GT(usage, 0.0) << "a busy loop ran";
    EXPECT_NEAR(usage, 100.0 * (busy - busyBefore) / (all - allBefore), 10.0);
    double used = -1.0;
    double total = -1.0;
    GetOverAllUsedMemory(used);
    EXPECT_EQ(static_cast<double>(GetOverAllMemory(total)), total);
    EXPECT_NEAR(used, meminfoMebibytes("Active:") + meminfoMebibytes("Inactive:"), 200.0);
    EXPECT_GT(total, used);
    EXPECT_NEAR(static_cast<double>(GetTotalMemory()), meminfoMebibytes("MemTotal:"), 1.0);
}

TEST(ProcessRecords, AreReadFromAListing) {
    const std::string wide(4095 - 9, 'a');
    const struct {
        std::string listing;
        Records records;
    } cases[] = {
        {"", {}},
        {"PID %CPU RSS COMM", {}},
        {"1 2.0 3 /dropped/heading\n", {}},
        {"h\n  1  12.5 2047 /opt/a b/c d\n2 0.0 1 /e",
         {{"1", "12.5", "2047", "c d"}, {"2", "0.0", "1", "e"}}},
        {"h\n1 2.0 3 [kthread]\n\n1 2.0/x\n/x\n 1 2.0 /y\n4 5.0 6 rel/z\n", {{"4", "5.0", "6", "z"}}},
        {"h\n1 2.0 3 /" + wide.substr(1) + "\n4 5.0 6 /b\n",
         {{"1", "2.0", "3", wide.substr(1)}, {"4", "5.0", "6", "b"}}},
        {"h\n1 2.0 3 /" + wide + "cut\n4 5.0 6 /b\n", {{"1", "2.0", "3", wide}, {"4", "5.0", "6", "b"}}},
        {"h\n1 2.0 3 /" + wide + "7 8.0 9 /piece\n", {{"1", "2.0", "3", wide}, {"7", "8.0", "9", "piece"}}},
        {std::string(4095, 'h') + "1 2.0 3 /rest of heading\n", {{"1", "2.0", "3", "rest of heading"}}},
    };
    for (const auto& each : cases)
        EXPECT_EQ(parseProcessListing(each.listing), each.records) << each.listing.substr(0, 80);
}

Records processes(int count) {
    Records list;
    for (int i = 1; i <= count; ++i)
        list.push_back({std::to_string(i), "12.5", "2047", "app" + std::to_string(i)});
    return list;
}

TEST(ProcessRecords, TopFiveWithClientAndOwn) {
    const struct {
        int count;
        const char* client;
        const char* own;
        std::string top;
    } cases[] = {
        {5, "1", "2", "none"},          {6, "1", "2", "1 2 3 4 5 "},
        {10, "9", "3", "1 2 3 4 5 9 "}, {10, "9", "7", "1 2 3 4 5 7 9 "},
        {10, "x", "y", "1 2 3 4 5 "},   {10, "x", "10", "1 2 3 4 5 10 "},
    };
    for (const auto& each : cases) {
        const auto is = [](const char* id) {
            return [id](const DGAProcessRecord& record) { return record.processID == id; };
        };
        const auto top = topUtilizationProcesses(processes(each.count), is(each.client), is(each.own));
        std::string ids = top ? "" : "none";
        for (const auto& record : top.value_or(Records()))
            ids += record.processID + " ";
        EXPECT_EQ(ids, each.top) << each.count << " processes, " << each.client << ", " << each.own;
    }
}

class ResourceTrace : public testing::Test {
protected:
    void SetUp() override {
        session_.pID.set(kNoProcess);
        newRecords();
    }
    void TearDown() override { session_.pID.set(std::nullopt); }

    /// The records since the last call, without time and thread, and with "#" for a positive machine total.
    std::vector<std::string> newRecords() {
        std::string text;
        DGACSVFileTool::traceQueue().sync([&text] {
            std::ifstream file(DGACSVFileTool::shareFileTool().orvdgaCSVFilePath());
            text.assign(std::istreambuf_iterator<char>(file), {});
        });
        auto lines = linesOf(text);
        lines.erase(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(seen_));
        seen_ += lines.size();
        for (std::string& line : lines) {
            line.erase(line.rfind(',', line.rfind(',') - 1));
            const size_t value = line.find(" total used,");
            if (value != std::string::npos && std::stod(line.substr(value + 12)) > 0.0)
                line.replace(value + 12, line.find(',', value + 12) - value - 12, "#");
        }
        return lines;
    }

    DGASessionRecord& session_ = DGASessionRecord::sharedRecord();
    const std::string own_ = std::to_string(getpid());
    const std::string ownName_ = fs::read_symlink("/proc/self/exe").filename();

private:
    size_t seen_ = 0;
};

std::string listingOf(const Records& records) {
    std::string text = "PID %CPU RSS COMM\n";
    for (const auto& record : records)
        text += record.processID + " " + record.cpuRate + " " + record.memoryRate + " /bin/" +
                record.appPath + "\n";
    return text;
}

TEST_F(ResourceTrace, SamplesCountOnlyWithProcesses) {
    Records list = processes(9);
    list[0] = {kNoProcess, "99.94", "1024", "gone^J"};
    list[2] = {own_, "3.0", "4096", "caret^A"};
    session_.pID.set("9");
    std::optional<std::string> listing = listingOf(list);
    std::atomic<int> readings{0};
    DGASystemResourceCheckingManager sampler([&] {
        auto reading = listing;
        readings += 1;
        return reading;
    });
    sampler.startChecking();
    while (readings == 0)
        std::this_thread::yield();
    keepBusy();
    sampler.writeIntoCSV();
    sampler.startChecking();
    const auto first = newRecords();
    ASSERT_EQ(first.size(), 14U);
    std::vector<std::string> expected = {"30,1,1,cpu total used,#,,1,," + own_,
                                         "30,1,1,memory total used,#,,1,," + own_};
    const std::string rows[][4] = {{"99.9", "1.0", "-", kNoProcess}, {"12.5", "1.0", "app2", "2"},
                                   {"3.0", "4.0", ownName_, own_},   {"12.5", "1.0", "app4", "4"},
                                   {"12.5", "1.0", "app5", "5"},     {"12.5", "1.0", "app9", "9"}};
    for (const auto& [cpu, memory, name, id] : rows) {
        expected.push_back("30,1,1,cpu usage," + cpu + "," + name + ",1,," + id);
        expected.push_back("30,1,1,memory usage," + memory + "," + name + ",1,," + id);
    }
    EXPECT_EQ(first, expected);

    for (const auto& none : {std::optional<std::string>(), std::optional(listingOf(processes(5)))}) {
        listing = none;
        sampler.writeIntoCSV();
        const auto totals = newRecords();
        ASSERT_EQ(totals.size(), 2U);
        EXPECT_EQ(totals[1], "30,1,1,memory total used,#,,2,," + own_);
    }
    listing = listingOf(processes(6));
    sampler.writeIntoCSV();
    EXPECT_EQ(newRecords().back(), "30,1,1,memory usage,1.0,app5,2,,5") << "the counter stood still";
}

TEST_F(ResourceTrace, OneShotRecordsMachineClientAndOwn) {
    for (const bool clientLives : {false, true}) {
        const std::string client = clientLives ? own_ : kNoProcess;
        session_.pID.set(client);
        DGAUtilities::dga_recordCPUMemoryInfo();
        const auto records = newRecords();
        ASSERT_EQ(records.size(), 6U);
        const std::string clientName = clientLives ? ownName_ : "";
        const std::pair<const char*, std::string> expected[] = {
            {"cpu total used,", ",,0,," + own_},
            {"memory total used,#", ",,0,," + own_},
            {clientLives ? "cpu usage," : "cpu usage,0,", "," + clientName + ",0,," + client},
            {clientLives ? "memory usage," : "memory usage,0,", "," + clientName + ",0,," + client},
            {"DGA cpu usage,", "," + ownName_ + ",0,," + own_},
            {"DGA memory usage,", "," + ownName_ + ",0,," + own_},
        };
        for (size_t i = 0; i < records.size(); ++i) {
            EXPECT_TRUE(records[i].starts_with(std::string("30,3,1,") + expected[i].first)) << records[i];
            EXPECT_TRUE(records[i].ends_with(expected[i].second)) << records[i];
        }
        EXPECT_FALSE(records[5].starts_with("30,3,1,DGA memory usage,0,")) << "this program uses memory";
    }
}

/// How often the sampler threads have been woken so far.
std::vector<std::string> samplerWakeUps() {
    std::vector<std::string> counts;
    for (const auto& task : fs::directory_iterator("/proc/self/task")) {
        std::ostringstream text;  // left empty by a thread that has just ended
        text << std::ifstream(task.path() / "status").rdbuf();
        const std::string status = text.str();
        if (status.starts_with("Name:\tdga-sampler\n"))
            counts.push_back(status.substr(status.find("voluntary_ctxt_switches:")));
    }
    return counts;
}

TEST_F(ResourceTrace, SamplerSleepsBetweenTicks) {
    std::atomic<int> samples{0};
    const auto source = [&samples] {
        ++samples;
        return std::optional<std::string>();
    };
    {
        DGASystemResourceCheckingManager idle(source);
        idle.startChecking();
        idle.startChecking();
        std::this_thread::sleep_for(300ms);
        const auto before = samplerWakeUps();
        EXPECT_EQ(before.size(), 1U) << "one thread, however often it is started";
        std::this_thread::sleep_for(300ms);
        EXPECT_EQ(samplerWakeUps(), before);
        EXPECT_EQ(samples, 1) << "a baseline, but no sample at once";
    }
    DGASystemResourceCheckingManager busy(source, 10ms);
    busy.startChecking();
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (samples < 4 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(5ms);
    EXPECT_GE(samples, 4);
}

}  // namespace
