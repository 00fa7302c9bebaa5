#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "RunFiles.h"
#include "TestAssistant.h"
#include "TraceGroups.h"
#include "TracePrinter.h"
#include "devtools/trace/Printable.h"
#include "devtools/trace/TraceLine.h"
#include "devtools/trace/TraceReader.h"

namespace clientsim {
namespace {

using namespace tracefile;

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
    EXPECT_EQ(trace.badLines, std::vector<int>{2});
}

TEST(TraceReader, ReadsTimes) {
    EXPECT_EQ(parseTraceTime("1970-01-02 00:00:01.002"), std::chrono::milliseconds(86401002));
    for (const char* text : {"2026-02-29 10:00:00.000", "2026-11-21 24:00:00.000", "2026-11-21T10:00:00.000",
                             "2026-11-21 10:00:00", "-026-11-21 10:00:00.000", ""}) {
        EXPECT_FALSE(parseTraceTime(text)) << text;
    }
}

TEST(TraceReader, DecodesBase64OfEveryLength) {
    const std::pair<const char*, std::optional<std::string>> cases[] = {{"", ""},
                                                                        {"YQ==", "a"},
                                                                        {"YWI=", "ab"},
                                                                        {"+/+/", "\xfb\xff\xbf"},
                                                                        {"YQ", std::nullopt},
                                                                        {"YQ=", std::nullopt},
                                                                        {"Y===", std::nullopt},
                                                                        {"YQ==YQ==", std::nullopt}};
    for (const auto& [text, bytes] : cases) {
        EXPECT_EQ(decodeBase64(text), bytes) << text;
    }
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
              "10:00  meeting service         1     6             35  20003             3\n"
              "not records: line 3\n");
}

TEST(TracePrinter, ForeignTextCannotSteerTheTerminal) {
    EXPECT_EQ(printable("a\x1b[31m\r\n\x7f"), "a?[31m???");
    EXPECT_EQ(printable("\xc2\x9b \xc3\x96 \xff \xe2\x82"), "? \xc3\x96 ? ??");
    EXPECT_EQ(printable(std::string("x\xc2")), "x?");
}

TEST(RunFiles, StayReadableAfterTheirFolderIsGone) {
    const clienttest::TemporaryFolder root;
    const clienttest::TemporaryFolder everybodys;
    const std::string name = "/orvanedga_meeting_20261115_171300_";
    const std::string run = root.path() + name;
    const std::string trace = "/orvdga_trace_meeting_20261115_171300.csv";
    std::filesystem::create_directory(everybodys.path() + name + "12");
    std::ofstream(everybodys.path() + name + "12" + trace) << "forged";
    std::filesystem::permissions(everybodys.path(), std::filesystem::perms::all);
    RunFiles files({everybodys.path(), root.path()});
    files.look(12);
    EXPECT_FALSE(files.hasTrace());
    std::filesystem::create_directory(run + "112");
    std::filesystem::create_directory(run + "12");
    std::ofstream(run + "112" + trace) << "another's";
    std::ofstream(run + "12" + trace) << "one\n";
    std::ofstream(run + "12/orvdga_topic.txt") << "old";
    files.look(12);
    std::ofstream(run + "12" + trace, std::ios::app) << "two\n";
    std::ofstream(run + "12/new") << "new";
    std::filesystem::rename(run + "12/new", run + "12/orvdga_topic.txt");
    files.look(12);
    std::filesystem::remove_all(run + "12");
    files.look(12);
    EXPECT_EQ(files.trace(), "one\ntwo\n");
    EXPECT_EQ(files.topic(), "new");
}

TEST(RunFiles, NewestLogIsOneOfThisRun) {
    const clienttest::TemporaryFolder root;
    const auto started = std::chrono::system_clock::now() - std::chrono::seconds(30);
    const auto age = [&](const std::string& name, int seconds) {
        std::ofstream(root.path() + "/" + name) << "x";
        std::filesystem::last_write_time(
            root.path() + "/" + name,
            std::filesystem::file_time_type::clock::now() - std::chrono::seconds(seconds));
    };
    age("orvtra_dga_1.ovt", 60);
    age("other.ovt", 0);
    const std::vector<std::string> folders{root.path() + "/none", root.path()};
    EXPECT_EQ(newestLog(folders, started), "");
    age("orvtra_dga_3.ovt", 5);
    age("orvtra_dga_2.ovt", 2);
    EXPECT_EQ(newestLog(folders, started), root.path() + "/orvtra_dga_2.ovt");
}

TEST(TraceGroups, GathersTheRecordsOfAModuleAndNamesThem) {
    const Trace trace = parseTrace(
        "32,1,6,,37.0,,95,,0,2026-11-15 17:13:01.000,2\n"
        "31,1,6,,2.0,,0,,0,2026-11-15 17:13:01.001,2\n"
        "32,1,6,,99.0,,7,,0,2026-11-15 17:13:02.000,2\n"
        "30,1,1,cpu usage,12.5,app,1,,77,2026-11-15 17:13:03.000,2\n");
    EXPECT_EQ(groupedTrace(trace),
              "meeting service (2)\n"
              "  17:13:01.000  connection delay (cb)  95\n"
              "  17:13:02.000  99.0                   7\n"
              "\n"
              "network status (1)\n"
              "  17:13:01.001  not connected\n"
              "\n"
              "CPU and memory (1)\n"
              "  17:13:03.000  cpu usage              12.5  app\n");
}

}  // namespace
}  // namespace clientsim
