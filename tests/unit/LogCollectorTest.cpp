#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <random>

#include "DGAMonitor/Session/DGASessionRecord.h"
#include "reportproblem/OrvLogCollectorConfigurator.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAreArray;
using Paths = std::vector<std::string>;

void write(const fs::path& path) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << path.filename();
}

// Takes every name, and "lists" the given ones in their order.
class ListedCollector final : public LogCollector {
public:
    explicit ListedCollector(Paths names) : names_(std::move(names)) {
        fs::create_directories(folder_);
        for (const auto& name : names_)
            write(folder_ / name);
        setLogFolderPath(folder_);
    }
    ~ListedCollector() override { fs::remove_all(folder_); }
    bool isExpectedLog(const std::string& /*name*/) const override { return true; }

    Paths sorted() {
        Paths names;
        for (const auto& path : allLogsSortedByTimestamp())
            names.push_back(fs::path(path).filename());
        return names;
    }

    // The order that the folder really has.
    Paths listed() const {
        Paths names;
        for (const auto& entry : fs::directory_iterator(folder_))
            names.push_back(entry.path().filename());
        return names;
    }

private:
    const fs::path folder_ = fs::path(std::getenv("HOME")) / "listed";
    Paths names_;
};

class LogCollectorTest : public testing::Test {
protected:
    void TearDown() override {
        for (const char* path :
             {"/tmp/orvtrace", "/tmp/orvgpc.ovt", "/tmp/orvgpc.ovt.bak", "/tmp/Orvgpc.ovt"})
            fs::remove_all(path);
        for (const auto& entry : fs::directory_iterator("/tmp")) {
            if (entry.path().filename().string().find("orvtra_") != std::string::npos)
                fs::remove_all(entry.path());
        }
        fs::remove_all(fs::path(std::getenv("HOME")) / "Library");
    }

    std::unique_ptr<OrvLogCollector> logs_ = OrvLogCollectorConfigurator::orvLogCollector();
};

TEST_F(LogCollectorTest, EveryKindTakesItsNamesFromItsFolder) {
    const std::string home = std::getenv("HOME");
    struct Case {
        LogCollector& collector;
        std::string folder;
        Paths taken;
        Paths left;
    };
    const Case cases[] = {
        {*logs_->meetingLogCollector,
         "/tmp",
         {"orvtra_0315202414302501.ovt", "orvtra_.ovt", "orvtra_a.b.ovt", "orvtra_GPC.ovt", "orvtra_dga.ovt"},
         {"orvtra_gpc_0315202414302501.ovt", "orvtra_gpcx.ovt", "orvtra_1.OVT", "orvtra_1.ovt.bak",
          "orvtra_1", ".orvtra_1.ovt", "Orvtra_1.ovt"}},
        {*logs_->gpcLogCollector, "/tmp", {"orvgpc.ovt"}, {"orvgpc.ovt.bak", "Orvgpc.ovt"}},
        {*logs_->chromeGpcLogCollector,
         "/tmp/orvtrace/cws",
         {"orvtra_gpc_0315202414302501.ovt", "orvtra_cws.ovt", "orvtra_xcwsx1.ovt"},
         {"orvtra_0315202414302501.ovt", "cws_orvtra_.ovt", "orvtra_cws.txt", "orvtra_CWS.ovt"}},
        {*logs_->appextLogCollector,
         "/tmp/orvtrace/appext",
         {"orvtra_appext_1.ovt"},
         {"orvtra_gpc.ovt", "appext.ovt"}},
        {*logs_->dgaLogCollector,
         "/tmp/orvtrace/dga",
         {"orvtra_dga_1.ovt"},
         {"orvtra_appext.ovt", "orvtra_dga.log"}},
        {*logs_->crashLogCollector,
         home + "/Library/Logs/DiagnosticReports",
         {"Convexa_2024-03-15-143025_host.crash", "Convexa.crash"},
         {"Convexa.ips", "convexa_x.crash", "XConvexa.crash"}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.folder);
        EXPECT_EQ(test.collector.latestLog(), "") << "nothing there";
        Paths expected;
        for (const auto& name : test.taken) {
            write(test.folder + "/" + name);
            expected.push_back(test.folder + "/" + name);
        }
        for (const auto& name : test.left)
            write(test.folder + "/" + name);
        EXPECT_THAT(test.collector.allLogsSortedByTimestamp(), UnorderedElementsAreArray(expected));
        EXPECT_THAT(expected, testing::Contains(test.collector.latestLog()));
        fs::remove_all("/tmp/orvtrace");
        TearDown();
    }
}

TEST_F(LogCollectorTest, AFolderOfSomebodyElseHoldsNothing) {
    write("/tmp/orvtrace/dga/orvtra_dga_1.ovt");
    fs::permissions("/tmp/orvtrace/dga", fs::perms::all);
    EXPECT_EQ(logs_->latestDGALog(), "");
    fs::permissions("/tmp/orvtrace/dga", fs::perms::owner_all);
    fs::rename("/tmp/orvtrace/dga", "/tmp/orvtrace/real");
    fs::create_directory_symlink("/tmp/orvtrace/real", "/tmp/orvtrace/dga");
    EXPECT_EQ(logs_->latestDGALog(), "");
}

TEST_F(LogCollectorTest, TheFirst14DigitsOfTheNameAreItsTime) {
    const std::pair<const char*, const char*> cases[] = {
        {"/tmp/20/orvtra_0315202414302501.ovt", "2024-03-15 14:30:25"},
        {"orvtra_03152024143025.ovt", "2024-03-15 14:30:25"},
        {"03o15r2024_14.ovt30.ovt25.7", "2024-03-15 14:30:25"},
        {"0229202400000099.ovt", "2024-02-29 00:00:00"},
        {"02292023000000.ovt", "none"},
        {"13152024143025.ovt", "none"},
        {"03152024243025.ovt", "none"},
        {"0315202414302.ovt", "none"},
        {"/tmp/03152024143025/orvtra_dga.ovt", "none"},
        {"Convexa_2024-03-15-143025_host.crash", "none"},
    };
    for (const auto& [name, expected] : cases) {
        const auto time = LogCollector().timestampFromLogFile(name);
        char text[32] = "none";
        if (time) {
            const std::time_t plain = std::chrono::system_clock::to_time_t(*time);
            std::strftime(text, sizeof text, "%F %T", std::localtime(&plain));
        }
        EXPECT_STREQ(text, expected) << name;
    }
}

// The rule, to the letter: one log after another is put in front of the first that is not newer.
Paths insertedOneByOne(const LogCollector& collector, const Paths& listed) {
    Paths sorted;
    for (const auto& name : listed) {
        const auto time = collector.timestampFromLogFile(name);
        auto at = sorted.begin();
        while (at != sorted.end() && time) {
            const auto other = collector.timestampFromLogFile(*at);
            if (!other || *time >= *other)
                break;
            ++at;
        }
        sorted.insert(at, name);
    }
    return sorted;
}

TEST_F(LogCollectorTest, NewestFirstAsIfInsertedOneByOne) {
    std::mt19937 random(1);
    for (int round = 0; round < 50; ++round) {
        Paths names;
        for (int i = 0; i < round; ++i) {
            // Few different times, so that some are equal; every fourth has none.
            const std::string id(1, static_cast<char>('A' + i % 26));
            const bool dated = random() % 4 != 0;
            names.push_back(dated ? "0315202414302" + std::to_string(random() % 10) + id + std::to_string(i)
                                  : "x" + id + std::to_string(i));
        }
        ListedCollector collector(names);
        const Paths listed = collector.listed();
        EXPECT_EQ(collector.sorted(), insertedOneByOne(collector, listed)) << "round " << round;
    }
}

TEST_F(LogCollectorTest, ASecondListingAddsToTheFirst) {
    ListedCollector collector({"orvtra_0315202414302501.ovt", "orvtra_0316202414302501.ovt"});
    const std::string newest = collector.latestLog();
    EXPECT_EQ(fs::path(newest).filename(), "orvtra_0316202414302501.ovt");
    write(fs::path(newest).parent_path() / "orvtra_0317202414302501.ovt");
    EXPECT_EQ(collector.latestLog(), newest) << "not listed again";
    EXPECT_THAT(collector.sorted(), ElementsAre("orvtra_0317202414302501.ovt", "orvtra_0316202414302501.ovt",
                                                "orvtra_0316202414302501.ovt", "orvtra_0315202414302501.ovt",
                                                "orvtra_0315202414302501.ovt"));
}

TEST_F(LogCollectorTest, TheMeetingLogIsAFileThatTheClientNamesInFull) {
    auto& logFileName = DGASessionRecord::sharedRecord().logFileName;
    const fs::path log = fs::path(std::getenv("HOME")) / "meeting.log";
    write(log);
    const fs::path before = fs::current_path();
    fs::current_path(log.parent_path());
    write(fs::current_path() / "-T");
    const std::pair<std::optional<std::string>, std::string> cases[] = {
        {log, log},
        {std::nullopt, ""},
        {"", ""},
        {log.string() + "x", ""},
        {"-T", ""},
        {log.parent_path(), ""},
        {"meeting.log", ""},
        {log.string() + std::string(1, '\0'), ""}};
    for (const auto& [named, expected] : cases) {
        logFileName.set(named);
        EXPECT_EQ(logs_->latestMeetingLogFromHV(), expected) << named.value_or("(null)");
    }
    logFileName.set(std::nullopt);
    fs::current_path(before);
}

TEST_F(LogCollectorTest, AListEndsAtTheFirstMissingText) {
    EXPECT_THAT(OrvLogCollector::listUntilMissing({"a", "", std::nullopt, "b"}), ElementsAre("a", ""));
    EXPECT_THAT(OrvLogCollector::listUntilMissing({"a", "b"}), ElementsAre("a", "b"));
}

TEST_F(LogCollectorTest, AllLogsComeKindByKind) {
    const Paths expected = {"/tmp/orvtra_03162024143025.ovt",
                            "/tmp/orvtra_03152024143025.ovt",
                            "/tmp/orvgpc.ovt",
                            "/tmp/orvtrace/cws/orvtra_cws.ovt",
                            "/tmp/orvtrace/appext/orvtra_appext.ovt",
                            "/tmp/orvtrace/dga/orvtra_dga.ovt"};
    for (const auto& path : expected)
        write(path);
    write(fs::path(std::getenv("HOME")) / "Library/Logs/DiagnosticReports/Convexa_1.crash");
    EXPECT_EQ(logs_->allLogs(), expected);
    EXPECT_EQ(logs_->allCrashLogs().size(), 1U);
    EXPECT_EQ(logs_->crashLogs().size(), 2U);
}

}  // namespace
