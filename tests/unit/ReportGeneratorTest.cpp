#include "DGAMonitor/Report/DGAReportGenerator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
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

// As another program reads it.
Paths namesInArchive(const std::string& archive) {
    Paths names;
    FILE* const listing = popen(("unzip -Z1 '" + archive + "' 2>&1").c_str(), "r");
    char line[4096];
    while (listing && std::fgets(line, sizeof line, listing))
        names.emplace_back(line, std::strcspn(line, "\n"));
    if (!listing || pclose(listing) != 0)
        names.emplace_back("unzip failed");
    return names;
}

class Delegate final : public DGAReportGeneratorDelegate {
public:
    void reportFileGeneratedAt(const std::string& path) override {
        EXPECT_EQ(&platform::RunLoop::current(), &platform::RunLoop::main());
        told.push_back(path);
    }
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
        tools_.systemProfile = [this](const std::string& path, const std::string& level) {
            EXPECT_EQ(level, "basic");
            profile_ = path;
            write(path);
        };
        tools_.screenshot = [this](const std::string& path) {
            screenshot_ = path;
            write(path);
        };
        tools_.crashRecord = [this](const std::string& processId, const std::string& prefix) {
            crashes_.push_back(processId + " " + prefix);
        };
        tools_.run = [this](const std::string& program, const Paths& args, const auto& handle) {
            EXPECT_EQ(program, "/usr/bin/zip");
            runs_.push_back(args);
            if (reason_ != 0)
                handle(reason_);
        };
    }

    void TearDown() override {
        fs::remove_all(fs::path(home) / "Library");
        fs::remove("/tmp/orvgpc.ovt");
        fs::remove_all("/tmp/orvtrace/cws");
        fs::remove_all("/tmp/orvtrace/appext");
    }

    static std::string beginLog() {
        auto& log = ORVNLogger::sharedLogger();
        log.initParams({"dga", "orvtra_dga_", 30});
        ORVN_LOG_METHOD();
        return log.logFileName().value_or("no log");
    }

    // One whole run; what it is asked to run is in runs_ then, and what the delegate heard in the result.
    Paths generate(DGAReportGenerator& generator, bool screenShot, bool systemInfo, bool crashLog,
                   int64_t serviceType) {
        runs_.clear();
        profile_.clear();
        screenshot_.clear();
        const auto delegate = std::make_shared<Delegate>();
        generator.setDelegate(delegate);
        std::atomic<bool> completed{false};
        generator.startGenerateReportIfScreenShot({screenShot, systemInfo, crashLog, serviceType}, [&] {
            EXPECT_NE(&platform::RunLoop::current(), &platform::RunLoop::main());
            completed = true;
        });
        for (int i = 0; i < 1000 && !completed; ++i)
            platform::RunLoop::main().runFor(std::chrono::milliseconds(10));
        EXPECT_TRUE(completed);
        platform::RunLoop::main().runFor(std::chrono::milliseconds(1));
        return delegate->told;
    }

    Paths latestLogs() const {
        const auto& trace = DGACSVFileTool::shareFileTool();
        return {"",
                "",
                "",
                "",
                platform::BundleInfo::executableFolder() + "/orvaneparameters.txt",
                ownLog_,
                trace.orvdgaTopicFilePath(),
                trace.orvdgaCSVFilePath()};
    }

    static Paths joined(std::initializer_list<Paths> lists) {
        Paths all;
        for (const auto& list : lists)
            all.insert(all.end(), list.begin(), list.end());
        return all;
    }

    const std::string home = std::getenv("HOME");
    const std::string ownLog_ = beginLog();
    DGAReportGenerator::Tools tools_;
    std::vector<Paths> runs_;
    Paths crashes_;
    std::string profile_;
    std::string screenshot_;
    int reason_ = 1;
};

TEST_F(ReportGeneratorRunTest, TheMeetingServicePacksWhatIsAskedFor) {
    const std::string crash = home + "/Library/Logs/DiagnosticReports/Convexa_1.crash";
    write(crash);
    write(home + "/Library/Logs/DiagnosticReports/Tellan Orvane Meetings_1.crash");
    const std::string traceFolder = DGACSVFileTool::shareFileTool().dirFilePath();
    for (int flags = 0; flags < 8; ++flags) {
        SCOPED_TRACE(flags);
        const bool screenShot = (flags & 1) != 0;
        const bool systemInfo = (flags & 2) != 0;
        const bool crashLog = (flags & 4) != 0;
        DGAReportGenerator generator(tools_);
        const std::string archive = std::string("/tmp/orvdga/123456_ab_") + kTime;
        EXPECT_THAT(generate(generator, screenShot, systemInfo, crashLog, kHV), ElementsAreArray({archive}));
        const Paths expected = joined(
            {{"-jr", archive},
             latestLogs(),
             crashLog ? Paths{crash} : Paths{},
             screenShot ? Paths{std::string("/tmp/orvdga/orvdga_screenshot_") + kTime + ".png"} : Paths{},
             systemInfo ? Paths{traceFolder + "/orvdga_system_profile.spx"} : Paths{}});
        ASSERT_EQ(runs_.size(), 1U);
        EXPECT_EQ(runs_[0], expected);
        EXPECT_EQ(profile_.empty(), !systemInfo);
        EXPECT_EQ(screenshot_.empty(), !screenShot);
        EXPECT_FALSE(fs::exists(profile_) || fs::exists(screenshot_));
        if (flags == 4) {
            generate(generator, false, false, true, kHV);
            EXPECT_EQ(runs_.at(0), joined({expected, {crash}})) << "a second run repeats the crash reports";
        }
    }
}

TEST_F(ReportGeneratorRunTest, TheDesktopToolsPackInThreeSteps) {
    const std::string library = home + "/Library/";
    const std::string app = library + "/Logs/KT/.hidden log";
    const std::string plugin = library + "/Containers/com.microsoft.Outlook/Data/Library/Logs/KT/folder";
    const std::string crash = library + "/Logs/DiagnosticReports/Tellan Orvane Meetings_1.any";
    write(app);
    write(plugin + "/file");
    write(crash);
    write(library + "/Logs/DiagnosticReports/Convexa_1.crash");
    const auto& trace = DGACSVFileTool::shareFileTool();
    for (const bool systemInfo : {false, true}) {
        for (const char* part : {"/tmp/orvdga/OrvaneAppLog.zip", "/tmp/orvdga/OrvaneOLPluginLog.zip"})
            write(part);
        DGAReportGenerator generator(tools_);
        const std::string archive = std::string("/tmp/orvdga/orvanedga_orvaneapp_") + kTime;
        EXPECT_THAT(generate(generator, true, systemInfo, systemInfo, kKT), ElementsAreArray({archive}));
        ASSERT_EQ(runs_.size(), 3U);
        EXPECT_EQ(runs_[0], (Paths{"-jr", "/tmp/orvdga/OrvaneAppLog", app}));
        EXPECT_EQ(runs_[1], (Paths{"-jr", "/tmp/orvdga/OrvaneOLPluginLog", plugin}));
        EXPECT_EQ(runs_[2],
                  joined({{"-jr", archive, "/tmp/orvdga/OrvaneAppLog.zip",
                           "/tmp/orvdga/OrvaneOLPluginLog.zip", ownLog_, trace.orvdgaCSVFilePath()},
                          systemInfo ? Paths{trace.dirFilePath() + "/orvdga_system_profile.spx"} : Paths{},
                          {crash}}));
        EXPECT_EQ(screenshot_, "") << "no screenshot";
        EXPECT_FALSE(fs::exists("/tmp/orvdga/OrvaneAppLog.zip"));
        EXPECT_FALSE(fs::exists("/tmp/orvdga/OrvaneOLPluginLog.zip"));
    }
}

TEST_F(ReportGeneratorRunTest, AnEndBySignalLeavesTheFilesAndTellsNobody) {
    for (const int serviceType : {kHV, kKT}) {
        for (const int reason : {2, 0}) {
            SCOPED_TRACE(testing::Message() << serviceType << " " << reason);
            reason_ = reason;
            write("/tmp/orvdga/OrvaneAppLog.zip");
            DGAReportGenerator generator(tools_);
            EXPECT_TRUE(generate(generator, true, true, true, serviceType).empty());
            EXPECT_TRUE(fs::exists(profile_));
            EXPECT_EQ(fs::exists(screenshot_), serviceType == kHV);
            EXPECT_TRUE(fs::exists("/tmp/orvdga/OrvaneAppLog.zip"));
            if (serviceType == kHV)
                fs::remove(screenshot_);
        }
    }
}

TEST_F(ReportGeneratorRunTest, NamesOfTheArchiveStayInItsFolder) {
    using Text = std::optional<std::string>;
    const std::tuple<Text, Text, const char*> cases[] = {
        {std::nullopt, std::nullopt, "(null)_(null)_"},
        {"", "", "__"},
        {"../../etc/x", "-T", "etcx_-T_"},
        {"a*?b", "\\:\"<>|", "ab__"},
    };
    for (const auto& [confID, userID, name] : cases) {
        record().confID.set(confID);
        record().userID.set(userID);
        DGAReportGenerator generator(tools_);
        EXPECT_THAT(generate(generator, false, false, false, kHV),
                    ElementsAreArray({std::string("/tmp/orvdga/") + name + kTime}));
    }
}

TEST_F(ReportGeneratorRunTest, AnyOtherServiceDoesNothing) {
    std::atomic<bool> completed{false};
    {
        DGAReportGenerator generator(tools_);
        for (const int64_t serviceType : {0, 2, 11, -1})
            generator.startGenerateReportIfScreenShot({true, true, true, serviceType},
                                                      [&] { completed = true; });
    }
    EXPECT_TRUE(runs_.empty());
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
        generate(generator, false, false, test.crashLog, test.serviceType);
        EXPECT_EQ(crashes_, test.expected) << "case " << &test - cases;
    }
}

TEST_F(ReportGeneratorRunTest, ARunOutlivesTheOwnerOfItsGenerator) {
    std::atomic<bool> started{false};
    std::atomic<bool> released{false};
    std::atomic<bool> completed{false};
    tools_.run = [&](const std::string&, const Paths&, const auto& handle) {
        started = true;
        started.notify_all();
        released.wait(false);
        handle(1);
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
    tools_.run = [&](const std::string&, const Paths&, const auto& handle) {
        // Each run waits for the other one.
        for (++waiting; waiting < 2;)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        handle(1);
    };
    tools_.systemProfile = [](const std::string&, const std::string&) {};
    DGAReportGenerator first(tools_);
    DGAReportGenerator second(tools_);
    for (auto* generator : {&first, &second})
        generator->startGenerateReportIfScreenShot({.systemInfo = true, .crashLog = true, .serviceType = kHV},
                                                   [&] { ++completed; });
    for (int i = 0; i < 1000 && completed < 2; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(completed, 2);
}

class RealArchiveTest : public ReportGeneratorRunTest {
protected:
    RealArchiveTest() {
        tools_.run = nullptr;
        fs::create_directories(platform::BundleInfo::resourceFolder());
        const fs::path reports = home + "/Library/Logs/DiagnosticReports";
        write(reports / "Convexa_2024-03-15-143025_host.crash");
        write(reports / "Convexa_2024-03-16-143025_host.crash");
        write(reports / "Other_2024-03-15-143025_host.crash");
        write(reports / "Tellan Orvane Meetings_2024-03-15.ips");
        write(home + "/client logs/-m of the meeting.log");
        write("/tmp/orvgpc.ovt");
        for (const char* day : {"15", "17", "16"}) {
            write(std::string("/tmp/orvtrace/cws/orvtra_cws_03") + day + "202414302501.ovt");
            write(std::string("/tmp/orvtrace/appext/orvtra_appext_03") + day + "202414302501.ovt");
        }
        write(home + "/Library/Logs/KT/app one.log");
        write(home + "/Library/Logs/KT/older/-T.log");
        write(home + "/Library/Logs/KT/.hidden");
        write(home + "/Library/Containers/com.microsoft.Outlook/Data/Library/Logs/KT/plugin.log");
        DGACSVFileTool::traceQueue().sync([] {});
    }

    static std::string nameOf(const std::string& path) { return fs::path(path).filename(); }
};

TEST_F(RealArchiveTest, OfTheMeetingService) {
    record().logFileName.set(home + "/client logs/-m of the meeting.log");
    const auto& trace = DGACSVFileTool::shareFileTool();
    DGAReportGenerator generator(tools_);
    const Paths told = generate(generator, true, true, true, kHV);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_THAT(namesInArchive(told[0] + ".zip"),
                UnorderedElementsAreArray({std::string("-m of the meeting.log"), std::string("orvgpc.ovt"),
                                           std::string("orvtra_cws_0317202414302501.ovt"),
                                           std::string("orvtra_appext_0317202414302501.ovt"), nameOf(ownLog_),
                                           std::string("orvdga_topic.txt"), nameOf(trace.orvdgaCSVFilePath()),
                                           std::string("Convexa_2024-03-15-143025_host.crash"),
                                           std::string("Convexa_2024-03-16-143025_host.crash"),
                                           nameOf(screenshot_), std::string("orvdga_system_profile.spx")}));
    EXPECT_EQ(fs::status(told[0] + ".zip").permissions() & fs::perms::others_all, fs::perms::none);
}

TEST_F(RealArchiveTest, OfTheDesktopTools) {
    const auto& trace = DGACSVFileTool::shareFileTool();
    DGAReportGenerator generator(tools_);
    const Paths told = generate(generator, true, true, false, kKT);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_THAT(namesInArchive(told[0] + ".zip"),
                UnorderedElementsAreArray(
                    {std::string("OrvaneAppLog.zip"), std::string("OrvaneOLPluginLog.zip"), nameOf(ownLog_),
                     nameOf(trace.orvdgaCSVFilePath()), std::string("orvdga_system_profile.spx"),
                     std::string("Tellan Orvane Meetings_2024-03-15.ips")}));
    const std::string extracted = home + "/extracted";
    ASSERT_EQ(std::system(("unzip -q -o -d '" + extracted + "' '" + told[0] + ".zip'").c_str()), 0);
    EXPECT_THAT(namesInArchive(extracted + "/OrvaneAppLog.zip"),
                UnorderedElementsAreArray({"app one.log", "-T.log", ".hidden"}));
    EXPECT_THAT(namesInArchive(extracted + "/OrvaneOLPluginLog.zip"), ElementsAreArray({"plugin.log"}));
    fs::remove_all(extracted);
}

}  // namespace
