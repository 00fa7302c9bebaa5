#include "DGAMonitor/Report/DGAReportGenerator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <thread>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "platform/BundleInfo.h"
#include "platform/RunLoop.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAreArray;
using testing::UnorderedElementsAreArray;
using Paths = DGAReportGenerator::Paths;

constexpr char kTime[] = "20240315_143025";
constexpr int kHV = 1;
constexpr int kKT = 10;

void write(const fs::path& path, const std::string& text = "text") {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

DGASessionRecord& record() {
    return DGASessionRecord::sharedRecord();
}

std::string outputOf(const std::string& command) {
    std::string text;
    FILE* const output = popen(command.c_str(), "r");
    char block[4096];
    for (size_t count = 1; output && count > 0; text.append(block, count))
        count = std::fread(block, 1, sizeof block, output);
    if (output)
        pclose(output);
    return text;
}

nlohmann::json summaryOf(const std::string& archive) {
    return nlohmann::json::parse(outputOf("unzip -p '" + archive + "' orvdga_report.json"), nullptr, false);
}

// As another program reads it, without the summary, which is in every archive.
Paths namesInArchive(const std::string& archive) {
    Paths names;
    FILE* const listing = popen(("unzip -Z1 '" + archive + "' 2>&1").c_str(), "r");
    char line[4096];
    while (listing && std::fgets(line, sizeof line, listing))
        names.emplace_back(line, std::strcspn(line, "\n"));
    if (!listing || pclose(listing) != 0)
        names.emplace_back("unzip failed");
    if (std::erase(names, "orvdga_report.json") != 1)
        names.emplace_back("not one summary");
    return names;
}

class Delegate final : public DGAReportGeneratorDelegate {
public:
    void reportFileGeneratedAt(const std::string& path) override {
        EXPECT_EQ(&platform::RunLoop::current(), &platform::RunLoop::main());
        told.push_back(path);
    }
    void reportFailed(const std::string& reason) override { told.push_back("! " + reason); }
    Paths told;
};

class ReportGeneratorRunTest : public testing::Test {
protected:
    ReportGeneratorRunTest() {
        fs::remove_all("/tmp/orvdga");
        DGACSVFileTool::shareFileTool().checkFilePathIfExist();
        record().confID.set("123.456");
        record().userID.set("a/b");
        record().clientHasQuit = false;
        record().pID.set(std::nullopt);
        record().logFileName.set(std::nullopt);
        tools_.saveTime = [] { return kTime; };
        tools_.systemProfile = [](const std::string& path, const std::string& level) {
            EXPECT_EQ(level, "basic");
            write(path);
        };
        tools_.screenshot = [](const std::string& path) {
            write(path);
            return "";
        };
        tools_.crashRecord = [this](const std::string& processId, const std::string& prefix) {
            crashes_.push_back(processId + " " + prefix);
            return std::vector<platform::CoredumpModule>{{"libc.so.6", "ab12", "2.36-9"},
                                                         {"convexa", "", ""}};
        };
        tools_.run = [this](const platform::Task& task) {
            EXPECT_EQ(task.program, "/usr/bin/zip");
            EXPECT_LE(task.limit, std::chrono::minutes(5));
            ++runs_;
            return platform::runTask(task);
        };
    }

    void TearDown() override {
        for (const std::string& path :
             {home + "/Library", home + "/client logs", std::string("/tmp/orvgpc.ovt"),
              std::string("/tmp/orvtrace/cws"), std::string("/tmp/orvtrace/appext")})
            fs::remove_all(path);
    }

    static std::string beginLog() {
        auto& log = ORVNLogger::sharedLogger();
        log.initParams({"dga", "orvtra_dga_", 30});
        ORVN_LOG_METHOD();
        return log.logFileName().value_or("no log");
    }

    // One whole run; what the delegate heard.
    Paths generate(DGAReportGenerator& generator, const DGAReportOptions& options) {
        runs_ = 0;
        const auto delegate = std::make_shared<Delegate>();
        generator.setDelegate(delegate);
        std::atomic<bool> completed{false};
        generator.startGenerateReportIfScreenShot(options, [&] {
            EXPECT_NE(&platform::RunLoop::current(), &platform::RunLoop::main());
            completed = true;
        });
        for (int i = 0; i < 1000 && !completed; ++i)
            platform::RunLoop::main().runFor(std::chrono::milliseconds(10));
        EXPECT_TRUE(completed);
        platform::RunLoop::main().runFor(std::chrono::milliseconds(1));
        return delegate->told;
    }
    Paths generate(const DGAReportOptions& options) {
        DGAReportGenerator generator(tools_);
        return generate(generator, options);
    }

    static std::string nameOf(const std::string& path) { return fs::path(path).filename(); }

    // What lies in the folder of reports beside the run's own folder.
    static std::set<std::string> reports() {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator("/tmp/orvdga"))
            names.insert(entry.path().filename());
        names.erase(nameOf(DGACSVFileTool::shareFileTool().dirFilePath()));
        return names;
    }

    const std::string home = std::getenv("HOME");
    const std::string ownLog_ = beginLog();
    const std::string crash_ = home + "/Library/Logs/DiagnosticReports/Convexa_1.crash";
    const Paths always_{nameOf(ownLog_), "orvdga_topic.txt",
                        nameOf(DGACSVFileTool::shareFileTool().orvdgaCSVFilePath())};
    DGAReportGenerator::Tools tools_;
    int runs_ = 0;
    Paths crashes_;
};

const std::string kArchive = std::string("/tmp/orvdga/123456_ab_") + kTime;

TEST_F(ReportGeneratorRunTest, TheMeetingServicePacksWhatIsAskedFor) {
    write(crash_);
    write(home + "/Library/Logs/DiagnosticReports/Tellan Orvane Meetings_1.crash");
    for (int flags = 0; flags < 8; ++flags) {
        SCOPED_TRACE(flags);
        fs::remove(kArchive + ".zip");
        const DGAReportOptions options{(flags & 1) != 0, (flags & 2) != 0, (flags & 4) != 0, kHV};
        DGAReportGenerator generator(tools_);
        EXPECT_THAT(generate(generator, options), ElementsAreArray({kArchive}));
        Paths expected = always_;
        if (options.screenShot)
            expected.push_back(std::string("orvdga_screenshot_") + kTime + ".png");
        if (options.systemInfo)
            expected.emplace_back("orvdga_system_profile.spx");
        if (options.crashLog)
            expected.emplace_back("Convexa_1.crash");
        EXPECT_THAT(namesInArchive(kArchive + ".zip"), UnorderedElementsAreArray(expected));
        EXPECT_EQ(reports(), (std::set<std::string>{nameOf(kArchive) + ".zip"})) << "nothing else is left";
        if (flags == 4) {
            fs::remove(kArchive + ".zip");
            generate(generator, options);
            EXPECT_THAT(namesInArchive(kArchive + ".zip"), UnorderedElementsAreArray(expected))
                << "a second run";
        }
    }
}

TEST_F(ReportGeneratorRunTest, WhatIsListedIsWhatIsThere) {
    const std::string picture = std::string("orvdga_screenshot_") + kTime + ".png";
    for (int flags = 0; flags < 4; ++flags) {
        SCOPED_TRACE(flags);
        const DGAReportOptions options{(flags & 1) != 0, (flags & 2) != 0, false, kHV};
        const auto files = DGAReportCollection::open(options, DGAReportCollection::realTools(tools_));
        const auto expectListed = [&](Paths expected, bool isComplete) {
            const DGAReportContents contents = files->contents(options);
            expected.insert(expected.end(), always_.begin(), always_.end());
            expected.emplace_back("orvdga_report.json");
            Paths names;
            for (const auto& file : contents.files) {
                names.push_back(file.name);
                EXPECT_LE(file.size, fs::file_size(file.path)) << file.name << " may have grown since";
            }
            EXPECT_THAT(names, UnorderedElementsAreArray(expected));
            EXPECT_EQ(contents.isComplete, isComplete);
            std::ifstream summary(contents.files.back().path);
            EXPECT_EQ(nlohmann::json::parse(summary)["leftOut"].size(), 0U)
                << "nothing was there to leave out";
        };
        expectListed({}, flags == 0);
        files->complete(options);
        Paths made;
        if (options.screenShot)
            made.push_back(picture);
        if (options.systemInfo)
            made.emplace_back("orvdga_system_profile.spx");
        expectListed(made, true);
    }
}

TEST_F(ReportGeneratorRunTest, WhatThePolicyForbidsIsNotEvenMade) {
    const auto never = [](const char* key) {
        return platform::AdministratorFile::Entry{"Report", key, "never"};
    };
    tools_.policy = [never] {
        return DGAPolicy({platform::AdministratorFile::State::read,
                          {},
                          {never("ScreenCapture"), never("SystemProfile"), never("CrashReports")}});
    };
    tools_.screenshot = [](const std::string&) { return ADD_FAILURE(), ""; };
    tools_.systemProfile = [](const std::string&, const std::string&) { ADD_FAILURE(); };
    record().pID.set("4711");
    write(crash_);
    write(home + "/Library/Logs/DiagnosticReports/Tellan Orvane Meetings_1.any");
    const std::string tools = std::string("/tmp/orvdga/orvanedga_orvaneapp_") + kTime;
    for (const auto& [service, archive, leftOut] :
         {std::tuple{kHV, kArchive, size_t{3}}, std::tuple{kKT, tools, size_t{2}}}) {
        generate(
            {.screenShot = true, .systemInfo = true, .crashLog = service == kHV, .serviceType = service});
        for (const auto& name : namesInArchive(archive + ".zip"))
            EXPECT_THAT(always_, testing::Contains(name));
        const auto summary = summaryOf(archive + ".zip");
        EXPECT_EQ(summary["leftOut"].size(), leftOut) << summary;
        EXPECT_EQ(summary["policy"].size(), 3U);
        EXPECT_EQ(summary["policy"][0],
                  (nlohmann::json{{"key", "[Report] ScreenCapture"}, {"value", "never"}}));
    }
    EXPECT_TRUE(crashes_.empty());
}

TEST_F(ReportGeneratorRunTest, TheDesktopToolsPackTheirFoldersWhole) {
    const std::string library = home + "/Library/";
    write(library + "Logs/KT/.hidden log");
    write(library + "Logs/KT/a/app.log", "a");
    write(library + "Logs/KT/b/app.log", "b");
    fs::create_directory_symlink(".", library + "Logs/KT/loop");
    write(library + "Containers/com.microsoft.Outlook/Data/Library/Logs/KT/folder/file");
    write(library + "Logs/DiagnosticReports/Tellan Orvane Meetings_1.any");
    write(crash_);
    const std::string archive = std::string("/tmp/orvdga/orvanedga_orvaneapp_") + kTime;
    EXPECT_THAT(generate({.screenShot = true, .systemInfo = true, .serviceType = kKT}),
                ElementsAreArray({archive}));
    EXPECT_THAT(
        namesInArchive(archive + ".zip"),
        UnorderedElementsAreArray({std::string("OrvaneAppLog.zip"), std::string("OrvaneOLPluginLog.zip"),
                                   nameOf(ownLog_), std::string("orvdga_system_profile.spx"),
                                   nameOf(DGACSVFileTool::shareFileTool().orvdgaCSVFilePath()),
                                   std::string("Tellan Orvane Meetings_1.any")}));
    const auto summary = summaryOf(archive + ".zip");
    std::set<std::string> inner;
    for (const auto& file : summary["files"]) {
        const std::string name = file["name"];
        if (name.find('/') != std::string::npos)
            inner.insert(name);
        if (name.starts_with("OrvaneAppLog.zip/app")) {
            EXPECT_EQ(file["size"], 1);
        }
    }
    EXPECT_EQ(inner, (std::set<std::string>{"OrvaneAppLog.zip/.hidden log", "OrvaneAppLog.zip/app.log",
                                            "OrvaneAppLog.zip/app-2.log", "OrvaneOLPluginLog.zip/file"}));
    EXPECT_EQ(summary["leftOut"][0]["name"], "OrvaneAppLog.zip/loop");
    EXPECT_EQ(summary["client"]["service"], "KT");
}

TEST_F(ReportGeneratorRunTest, OnlyTheUsersOwnFilesGoIn) {
    const std::string secret = home + "/client logs/secret";
    write(secret);
    fs::create_directories("/tmp/orvgpc.ovt");
    fs::create_symlink(secret, "/tmp/orvgpc.ovt/a");
    write("/tmp/orvtrace/cws/orvtra_gpc_0315202414302501.ovt");
    fs::remove("/tmp/orvtrace/appext");
    fs::create_directories("/tmp/orvtrace/appext");
    fs::create_symlink(secret, "/tmp/orvtrace/appext/orvtra_appext_0315202414302501.ovt");
    write(home + "/client logs/orvtra_gpc_0315202414302501.ovt");
    record().logFileName.set(home + "/client logs/orvtra_gpc_0315202414302501.ovt");
    generate({.serviceType = kHV});
    Paths expected = always_;
    expected.insert(expected.end(), {"orvtra_gpc_0315202414302501.ovt", "orvtra_gpc_0315202414302501-2.ovt"});
    EXPECT_THAT(namesInArchive(kArchive + ".zip"), UnorderedElementsAreArray(expected));
    const auto summary = summaryOf(kArchive + ".zip");
    EXPECT_EQ(summary["leftOut"].size(), 2U);
    EXPECT_EQ(summary["leftOut"][0],
              (nlohmann::json{{"name", "orvgpc.ovt"}, {"reason", "it is a folder outside the home folder"}}));
    EXPECT_EQ(summary["leftOut"][1]["reason"], "it is a link");
}

TEST_F(ReportGeneratorRunTest, TheSummarySaysWhatTheArchiveHolds) {
    const std::string growing = home + "/client logs/growing.log";
    write(growing, std::string(100000, 'x'));
    record().logFileName.set(growing);
    record().clientVersion.set("43.6.0.118");
    record().events.add(DGASessionEventKind::upload, "sent");
    tools_.screenshot = [](const std::string&) { return "the user refuses"; };
    tools_.run = [growing](const platform::Task& task) {
        std::ofstream(growing, std::ios::app) << "more";
        return platform::runTask(task);
    };
    generate({.screenShot = true,
              .serviceType = kHV,
              .description = "no\n\"sound\" \xff",
              .category = DGAReportCategory{2, "Audio"}});
    const std::string archive = kArchive + ".zip";
    const auto summary = summaryOf(archive);
    for (const auto& file : summary["files"]) {
        const std::string name = file["name"];
        const std::string sum = outputOf("unzip -p '" + archive + "' '" + name + "' | sha256sum");
        EXPECT_EQ(file["sha256"], sum.substr(0, 64)) << name;
        EXPECT_EQ(std::to_string(file["size"].get<int>()) + "\n",
                  outputOf("unzip -p '" + archive + "' '" + name + "' | wc -c"));
    }
    EXPECT_EQ(summary["files"].size(), namesInArchive(archive).size());
    EXPECT_EQ(summary["number"], nameOf(kArchive));
    EXPECT_EQ(summary["description"], "no\n\"sound\" \xEF\xBF\xBD");
    EXPECT_EQ(summary["category"], (nlohmann::json{{"number", 2}, {"name", "Audio"}}));
    EXPECT_EQ(summary["client"], (nlohmann::json{{"version", "43.6.0.118"}, {"service", "HV"}}));
    EXPECT_EQ(summary["requested"],
              (nlohmann::json{{"screenshot", true}, {"systemInfo", false}, {"crashLog", false}}));
    EXPECT_EQ(summary["leftOut"][0]["reason"], "the user refuses");
    EXPECT_EQ(summary["events"].back()["kind"], "upload");
    EXPECT_GT(summary["memoryAvailable"], 1'000'000);
    EXPECT_EQ(setenv("TZ", "XXX-05:30", 1), 0);
    tzset();
    EXPECT_EQ(dgaTimeWithOffset(std::chrono::system_clock::time_point(std::chrono::seconds(1710509425))),
              "2024-03-15T19:00:25+05:30");
    unsetenv("TZ");
    tzset();
}

// What zip does in place of packing, by a shell; $0 is the first run, "again" every other.
TEST_F(ReportGeneratorRunTest, WhoeverWaitsIsToldHowZipEnded) {
    const struct {
        const char* script;
        const char* told;
        int runs;
    } cases[] = {
        {"exit 0", "", 2},
        {"echo one; echo two >&2; exit 14", "! zip ended with 14", 1},
        {"exit 18", "", 2},
        {"[ $0 = again ] || kill -9 $$", "", 3},
        {"kill -9 $$", "! zip was ended by a signal", 2},
        {"sleep 60", "! zip was ended by a signal", 2},  // its time is up
        {nullptr, "! zip cannot be started", 1},
    };
    const DGACSVFileTool& trace = DGACSVFileTool::shareFileTool();
    for (const auto& test : cases) {
        SCOPED_TRACE(test.script ? test.script : "no zip");
        fs::remove(kArchive + ".zip");
        tools_.run = [this, &test](platform::Task task) {
            const std::string packing = " && exec /usr/bin/zip \"$@\"";
            task.arguments.insert(task.arguments.begin(), {"-c", std::string(test.script ? test.script : ""),
                                                           runs_++ == 0 ? "first" : "again"});
            task.program = test.script ? "/bin/sh" : "/nowhere/zip";
            if (*test.told == '\0')
                task.arguments[1] = std::string(test.script).starts_with("exit")
                                        ? "/usr/bin/zip \"$@\" && " + task.arguments[1]
                                        : "{ " + task.arguments[1] + "; }" + packing;
            if (test.script && std::string(test.script).starts_with("sleep"))
                task.limit = std::chrono::milliseconds(50);
            return platform::runTask(task);
        };
        EXPECT_THAT(generate({.serviceType = kHV}),
                    ElementsAreArray({*test.told == '\0' ? kArchive : std::string(test.told)}));
        EXPECT_EQ(runs_, test.runs);
        EXPECT_EQ(DGAReportGenerator::lastRunFailed(), *test.told != '\0');
        EXPECT_EQ(reports().size(), *test.told == '\0' ? 1U : 0U) << "no part of an archive";
        EXPECT_TRUE(fs::exists(trace.orvdgaCSVFilePath()));
    }
    EXPECT_NE(outputOf("grep -F '8 zip ended with 14: one | two' " + ownLog_), "");
}

TEST_F(ReportGeneratorRunTest, NamesOfTheArchiveStayInItsFolderAndFit) {
    using Text = std::optional<std::string>;
    const std::string most(62, 'a');
    const std::tuple<Text, Text, std::string> cases[] = {
        {std::nullopt, std::nullopt, "(null)_(null)_"},
        {"", "", "__"},
        {"../../etc/x", "-T", "etcx_-T_"},
        {"a*?b", "\\:\"<>|", "ab__"},
        {most + "€uro", std::string(300, 'b'), most + "_" + std::string(64, 'b') + "_"},
    };
    for (const auto& [confID, userID, name] : cases) {
        record().confID.set(confID);
        record().userID.set(userID);
        EXPECT_THAT(generate({.serviceType = kHV}), ElementsAreArray({"/tmp/orvdga/" + name + kTime}));
    }
}

TEST_F(ReportGeneratorRunTest, TwoReportsOfOneSecondHaveTheirOwnNames) {
    for (const char* end : {"143025", "143026", "143027"})
        EXPECT_THAT(generate({.serviceType = kHV}),
                    ElementsAreArray({std::string("/tmp/orvdga/123456_ab_20240315_") + end}));
    EXPECT_EQ(summaryOf("/tmp/orvdga/123456_ab_20240315_143027.zip")["number"], "123456_ab_20240315_143027");
}

TEST_F(ReportGeneratorRunTest, AnyOtherServiceDoesNothing) {
    std::atomic<bool> completed{false};
    {
        DGAReportGenerator generator(tools_);
        for (const int64_t serviceType : {0, 2, 11, -1})
            generator.startGenerateReportIfScreenShot({true, true, true, serviceType},
                                                      [&] { completed = true; });
    }
    EXPECT_EQ(runs_, 0);
    EXPECT_FALSE(completed);
}

TEST_F(ReportGeneratorRunTest, ACrashIsWrittenDownOnlyIfThereMayBeOne) {
    const struct {
        std::optional<std::string> processId;
        bool crashLog, clientHasQuit;
        int serviceType;
        Paths expected;
    } cases[] = {
        {"4711", true, false, kHV, {"4711 Convexa_"}},
        {"4711", true, false, kKT, {"4711 Tellan Orvane Meetings_"}},
        {"4711", false, false, kHV, {}},
        {"4711", true, true, kHV, {}},
        {std::nullopt, true, false, kHV, {}},
    };
    for (const auto& test : cases) {
        crashes_.clear();
        record().pID.set(test.processId);
        record().clientHasQuit = test.clientHasQuit;
        DGAReportGenerator generator(tools_);
        fs::remove(kArchive + ".zip");
        generate(generator, {.crashLog = test.crashLog, .serviceType = test.serviceType});
        EXPECT_EQ(crashes_, test.expected) << "case " << &test - cases;
    }
    write(crash_);
    record().pID.set("4711");
    record().clientHasQuit = false;
    fs::remove(kArchive + ".zip");
    record().events.add(DGASessionEventKind::crash);
    generate({.serviceType = kHV});
    EXPECT_THAT(namesInArchive(kArchive + ".zip"), testing::Contains("Convexa_1.crash"))
        << "after a crash, whoever asks";
    EXPECT_EQ(crashes_, Paths{"4711 Convexa_"});
    const auto modules = summaryOf(kArchive + ".zip")["modules"];
    EXPECT_EQ(modules,
              (nlohmann::json::parse(R"([{"name": "libc.so.6", "buildId": "ab12", "version": "2.36-9"},
                                                  {"name": "convexa"}])")));
}

TEST_F(ReportGeneratorRunTest, ARunOutlivesTheOwnerOfItsGenerator) {
    std::atomic<bool> started{false};
    std::atomic<bool> released{false};
    std::atomic<bool> completed{false};
    tools_.run = [&](const platform::Task& task) {
        started = true;
        started.notify_all();
        released.wait(false);
        return platform::runTask(task);
    };
    auto generator = std::make_shared<DGAReportGenerator>(tools_);
    const std::weak_ptr<DGAReportGenerator> watched = generator;
    {
        const auto delegate = std::make_shared<Delegate>();
        generator->setDelegate(delegate);
        generator->startGenerateReportIfScreenShot({.serviceType = kHV}, [&] { completed = true; });
        started.wait(false);
        generator.reset();
    }
    EXPECT_FALSE(watched.expired());
    released = true;
    released.notify_all();
    for (int i = 0; i < 1000 && !(completed && watched.expired()); ++i)
        platform::RunLoop::main().runFor(std::chrono::milliseconds(10));
    EXPECT_TRUE(completed);
    EXPECT_TRUE(watched.expired());
}

TEST_F(ReportGeneratorRunTest, GeneratorsWorkSideBySide) {
    std::atomic<int> waiting{0};
    std::atomic<int> completed{0};
    tools_.run = [&](const platform::Task& task) {
        // Each run waits for the other one.
        for (++waiting; waiting < 2;)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return platform::runTask(task);
    };
    DGAReportGenerator first(tools_);
    DGAReportGenerator second(tools_);
    for (auto* generator : {&first, &second})
        generator->startGenerateReportIfScreenShot({.systemInfo = true, .crashLog = true, .serviceType = kHV},
                                                   [&] { ++completed; });
    for (int i = 0; i < 1000 && completed < 2; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(completed, 2);
    EXPECT_EQ(reports().size(), 2U);
}

// The last one: no zip starts after it.
TEST_F(ReportGeneratorRunTest, TheEndOfTheAssistantEndsZip) {
    pid_t zip = 0;
    tools_.run = [&](platform::Task task) {
        std::thread([] { DGAReportGenerator::endAllRuns(); }).detach();
        task.program = "/bin/sleep";
        task.arguments = {"60"};
        const auto result = platform::runTask(task);
        EXPECT_EQ(result.reason, platform::TaskResult::kSignalled);
        zip = 1;
        return result;
    };
    EXPECT_THAT(generate({.serviceType = kHV}), ElementsAreArray({"! the assistant ends"}));
    EXPECT_EQ(zip, 1);
    EXPECT_TRUE(reports().empty());
}

}  // namespace
