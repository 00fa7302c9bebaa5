#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "RunFiles.h"
#include "TestAssistant.h"
#include "TraceGroups.h"
#include "TracePrinter.h"
#include "TraceReader.h"

namespace clientsim {
namespace {

TEST(TraceReader, TakesRecordsApart) {
    struct Case {
        const char* name;
        const char* line;
        const char* expected;  ///< module/basicInfo/id/text/value/time; empty: not a record
    };
    const Case cases[] = {
        {"plain", "31,1,6,,2.0,,0,,0,2026-11-15 17:13:00.001,3", "31//2.0//0/2026-11-15 17:13:00.001"},
        {"decoded", "39,1,1,confname,1.0,V2Vla2x5,0,,0,T,3", "39/confname/1.0/Weekly/0/T"},
        {"not marked as base64", "39,1,1,confid,0,V2Vla2x5,0,,0,T,3", "39/confid/0/V2Vla2x5/0/T"},
        {"marked, other module", "32,1,6,,1.0,V2Vla2x5,7,,0,T,3", "32//1.0/V2Vla2x5/7/T"},
        {"marked, but no base64", "39,1,1,username,1.0,a*b,0,,0,T,3", "39/username/1.0/a*b/0/T"},
        {"commas in the text", "39,1,1,siteurl,0,a,b,,c,-4,,0,T,3", "39/siteurl/0/a,b,,c/-4/T"},
        {"one field short", "31,1,6,,2.0,,0,,0,T", ""},
        {"no number", "31,1,6,,x,,0,,0,T,3", ""},
        {"empty", "", ""},
    };
    for (const Case& c : cases) {
        const Trace trace = parseTrace(std::string(c.line) + "\n");
        std::string found;
        for (const TraceRecord& r : trace.records) {
            found = r.module + "/" + r.basicInfo + "/" + r.id + "/" + r.text + "/" + r.value + "/" + r.time;
        }
        EXPECT_EQ(found, c.expected) << c.name;
        EXPECT_EQ(trace.badLines.size(), found.empty() ? 1U : 0U) << c.name;
    }
}

TEST(TraceReader, CountsLinesAndReadsALastOneWithoutItsEnd) {
    const Trace trace = parseTrace("40,1,1,a,0,,0,,0,T,3\njunk\n40,1,1,b,0,,0,,0,T,3");
    ASSERT_EQ(trace.records.size(), 2U);
    EXPECT_EQ(trace.records[1].basicInfo, "b");
    EXPECT_EQ(trace.badLines, std::vector<int>{2});
    EXPECT_TRUE(parseTrace("").badLines.empty());
}

TEST(TraceReader, DecodesBase64OfEveryLength) {
    EXPECT_EQ(decodeBase64(""), "");
    EXPECT_EQ(decodeBase64("YQ=="), "a");
    EXPECT_EQ(decodeBase64("YWI="), "ab");
    EXPECT_EQ(decodeBase64("+/+/"), "\xfb\xff\xbf");
    for (const char* bad : {"YQ", "YQ=", "Y===", "Y Q=", "YQ==YQ=="}) {
        EXPECT_EQ(decodeBase64(bad), std::nullopt) << bad;
    }
}

TEST(TraceReader, ReadsTopics) {
    const auto topic = parseTopic("V2Vla2x5\n2026-11-15 17:13:00\n");
    ASSERT_TRUE(topic);
    EXPECT_EQ(topic->meetingName + "/" + topic->time, "Weekly/2026-11-15 17:13:00");
    EXPECT_FALSE(parseTopic("V2Vla2x5"));
    EXPECT_FALSE(parseTopic("no base64\n2026"));
}

TEST(TracePrinter, AlignsByCharactersAndLeavesOutEmptyColumns) {
    const Trace trace = parseTrace(
        "39,1,1,username,1.0,w4VzYQ==,0,,0,10:00,3\n"
        "32,1,6,,35,,20003,,0,10:00,3\n"
        "junk\n");
    EXPECT_EQ(traceTable(trace),
              "TIME   MODULE              LEVEL  KIND  INFO       ID  VALUE  TEXT  THREAD\n"
              "10:00  session parameters      1     1  username  1.0      0  \xc3\x85sa        3\n"
              "10:00  meeting services        1     6             35  20003             3\n"
              "not records: line 3\n");
    EXPECT_EQ(traceTable(Trace{}), "");
}

TEST(TracePrinter, ForeignTextCannotSteerTheTerminal) {
    EXPECT_EQ(printable("a\x1b[31m\r\n\x7f"), "a?[31m???");
    EXPECT_EQ(printable("\xc2\x9b \xc3\x96 \xff \xe2\x82"), "? \xc3\x96 ? ??");
    EXPECT_EQ(printable(std::string("x\xc2")), "x?");
}

class RunFilesTest : public testing::Test {
protected:
    void write(const std::string& folder, const std::string& name, const std::string& text) const {
        std::filesystem::create_directories(root_.path() + "/" + folder);
        std::ofstream(root_.path() + "/" + folder + "/" + name) << text;
    }

    const clienttest::TemporaryFolder root_;
};

TEST_F(RunFilesTest, StayReadableAfterTheirFolderIsGone) {
    RunFiles files(root_.path());
    files.look(12);
    EXPECT_FALSE(files.hasTrace());
    write("orvanedga_meeting_20261115_171300_112", "orvdga_trace_meeting_20261115_171300.csv", "another's");
    write("orvanedga_meeting_20261115_171300_12", "orvdga_trace_meeting_20261115_171300.csv", "one\n");
    write("orvanedga_meeting_20261115_171300_12", "orvdga_topic.txt", "old");
    files.look(12);
    const std::string folder = root_.path() + "/orvanedga_meeting_20261115_171300_12/";
    std::ofstream(folder + "orvdga_trace_meeting_20261115_171300.csv", std::ios::app) << "two\n";
    std::ofstream(folder + "new") << "new";
    std::filesystem::rename(folder + "new", folder + "orvdga_topic.txt");
    files.look(12);
    std::filesystem::remove_all(folder);
    files.look(12);
    EXPECT_EQ(files.trace(), "one\ntwo\n");
    EXPECT_EQ(files.topic(), "new");
}

TEST_F(RunFilesTest, NewestLogIsOneOfThisRun) {
    const auto now = std::chrono::system_clock::now();
    EXPECT_EQ(newestLog(root_.path() + "/none", now), "");
    const auto age = [&](const std::string& name, int seconds) {
        write(".", name, "x");
        std::filesystem::last_write_time(
            root_.path() + "/" + name,
            std::filesystem::file_time_type::clock::now() - std::chrono::seconds(seconds));
    };
    age("orvtra_dga_1.ovt", 60);
    age("other.ovt", 0);
    EXPECT_EQ(newestLog(root_.path(), now - std::chrono::seconds(30)), "");
    age("orvtra_dga_3.ovt", 5);
    age("orvtra_dga_2.ovt", 2);
    EXPECT_EQ(newestLog(root_.path(), now - std::chrono::seconds(30)), root_.path() + "/orvtra_dga_2.ovt");
}

TEST(TraceGroups, GathersTheRecordsOfAModuleAndNamesThem) {
    const Trace trace = parseTrace(
        "39,1,1,confname,1.0,V2Vla2x5,0,,0,2026-11-15 17:13:00.001,2\n"
        "32,1,6,,37.0,,95,,0,2026-11-15 17:13:01.000,2\n"
        "31,1,6,,2.0,,0,,0,2026-11-15 17:13:01.001,2\n"
        "32,1,6,,99.0,,7,,0,2026-11-15 17:13:02.000,2\n"
        "30,1,1,cpu usage,12.5,app,1,,77,2026-11-15 17:13:03.000,2\n");
    EXPECT_EQ(groupedTrace(trace),
              "session parameters (1)\n"
              "  17:13:00.001  confname               Weekly\n"
              "\n"
              "meeting services (2)\n"
              "  17:13:01.000  connection delay (cb)  95\n"
              "  17:13:02.000  99.0                   7\n"
              "\n"
              "network (1)\n"
              "  17:13:01.001  not connected\n"
              "\n"
              "system resources (1)\n"
              "  17:13:03.000  cpu usage              12.5  app\n");
}

}  // namespace
}  // namespace clientsim
