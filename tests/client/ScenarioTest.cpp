#include "Scenario.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "Options.h"
#include "Timeline.h"

namespace clientsim {
namespace {

struct BadScenario {
    const char* name;
    std::string text;
    const char* expected;  ///< the whole message, or its beginning if it ends in "..."
};

std::string oneStep(const std::string& step) {
    return "{\"steps\": [{\"at\": 0, \"do\": \"report\"}, " + step + "]}";
}

class BadScenarios : public testing::TestWithParam<BadScenario> {};

TEST_P(BadScenarios, SaysWhereAndWhat) {
    std::string expected = GetParam().expected;
    std::string message = "no error";
    try {
        parseScenario(GetParam().text, "s.json");
    } catch (const ScenarioError& error) {
        message = error.what();
    }
    if (expected.ends_with("...")) {
        expected.resize(expected.size() - 3);
        message.resize(std::min(message.size(), expected.size()));
    }
    EXPECT_EQ(message, expected);
}

const char* const kActionList =
    "parameters, heartbeat, heartbeats, meeting-data, report, report-and-exit, quit, freeze, crash, wait, "
    "exit";

const std::string kNoAction =
    std::string("s.json: step 2: \"do\" is missing: expected one of ") + kActionList;
const std::string kBadAction =
    std::string("s.json: step 2: \"do\": expected one of ") + kActionList + ", found \"dance\"";

INSTANTIATE_TEST_SUITE_P(
    All, BadScenarios,
    testing::Values(
        BadScenario{"Syntax", "{\n  \"steps\": [\n    {\"at\" 0}\n  ]\n}", "s.json:3:11: syntax error..."},
        BadScenario{"EndsEarly", "{\"steps\": [", "s.json:1:12: syntax error..."},
        BadScenario{"Empty", "", "s.json:1:1: syntax error..."},
        BadScenario{"NotAnObject", "[]", "s.json: expected an object with \"steps\", found []"},
        BadScenario{"NoSteps", "{}", "s.json: \"steps\" is missing: expected a list of steps"},
        BadScenario{"StepsEmpty", "{\"steps\": []}",
                    "s.json: \"steps\": expected a list of at least one step, found []"},
        BadScenario{"TopKey", "{\"step\": []}", "s.json: unknown key \"step\": expected description, steps"},
        BadScenario{"KeyTwice", oneStep("{\"at\": 1, \"at\": 2, \"do\": \"quit\"}"),
                    "s.json: an object has the key \"at\" twice"},
        BadScenario{"Description", "{\"description\": 1, \"steps\": []}",
                    "s.json: \"description\": expected a text, found 1"},
        BadScenario{"StepIsText", oneStep("\"quit\""), "s.json: step 2: expected an object, found \"quit\""},
        BadScenario{"NoAction", oneStep("{\"at\": 1}"), kNoAction.c_str()},
        BadScenario{"BadAction", oneStep("{\"at\": 1, \"do\": \"dance\"}"), kBadAction.c_str()},
        BadScenario{"NoTime", oneStep("{\"do\": \"quit\"}"),
                    "s.json: step 2 (quit): \"at\" is missing: expected a number of seconds"},
        BadScenario{
            "TimeIsText", oneStep("{\"at\": \"1\", \"do\": \"quit\"}"),
            "s.json: step 2 (quit): \"at\": expected a number of seconds from 0 to 86400, found \"1\""},
        BadScenario{"TimeBelowZero", oneStep("{\"at\": -1, \"do\": \"quit\"}"),
                    "s.json: step 2 (quit): \"at\": expected a number of seconds from 0 to 86400, found -1"},
        BadScenario{"KeyOfAnotherAction", oneStep("{\"at\": 1, \"do\": \"quit\", \"with\": {}}"),
                    "s.json: step 2 (quit): unknown key \"with\": expected one of at, do, comment"},
        BadScenario{"NoParameters", oneStep("{\"at\": 1, \"do\": \"parameters\"}"),
                    "s.json: step 2 (parameters): \"with\" is missing"},
        BadScenario{"WithIsList", oneStep("{\"at\": 1, \"do\": \"parameters\", \"with\": [1]}"),
                    "s.json: step 2 (parameters): \"with\": expected an object, found [1]"},
        BadScenario{"EveryZero", oneStep("{\"at\": 1, \"do\": \"heartbeats\", \"every\": 0, \"until\": 2}"),
                    "s.json: step 2 (heartbeats): \"every\": expected a number of seconds above 0, found 0"},
        BadScenario{"UntilBeforeAt",
                    oneStep("{\"at\": 5, \"do\": \"heartbeats\", \"every\": 1, \"until\": 2}"),
                    "s.json: step 2 (heartbeats): \"until\": expected a time not before \"at\" (5), found 2"},
        BadScenario{"TooMany",
                    oneStep("{\"at\": 0, \"do\": \"heartbeats\", \"every\": 0.001, \"until\": 86400}"),
                    "s.json: step 2 (heartbeats): repeats more than 1000000 times"},
        BadScenario{"EveryAlone",
                    oneStep("{\"at\": 0, \"do\": \"meeting-data\", \"with\": {}, \"every\": 1}"),
                    "s.json: step 2 (meeting-data): \"every\" and \"until\" belong together..."},
        BadScenario{"ChangesAlone",
                    oneStep("{\"at\": 0, \"do\": \"meeting-data\", \"with\": {}, \"changes\": []}"),
                    "s.json: step 2 (meeting-data): \"changes\" needs \"every\" and \"until\""},
        BadScenario{"ChangeIsNumber",
                    oneStep("{\"at\": 0, \"do\": \"meeting-data\", \"with\": {}, \"every\": 1, \"until\": 5, "
                            "\"changes\": [{}, 7]}"),
                    "s.json: step 2 (meeting-data): \"changes\", entry 2: expected an object, found 7"},
        BadScenario{
            "ChangesLeftOver",
            oneStep("{\"at\": 0, \"do\": \"meeting-data\", \"with\": {}, \"every\": 1, \"until\": 1.5, "
                    "\"changes\": [{}, {}]}"),
            "s.json: step 2 (meeting-data): \"changes\" has 2 entries, but only 1 messages follow the first"},
        BadScenario{"AfterCrash",
                    "{\"steps\": [{\"at\": 5, \"do\": \"quit\"}, {\"at\": 3, \"do\": \"crash\"}]}",
                    "s.json: step 1 (quit): happens after step 2 (crash) has ended the client"},
        BadScenario{"LongValue", oneStep("{\"at\": \"" + std::string(500, 'x') + "\", \"do\": \"quit\"}"),
                    "s.json: step 2 (quit): \"at\": expected a number of seconds from 0 to 86400, found "
                    "\"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx..."}),
    [](const auto& scenario) { return scenario.param.name; });

/// "time action json" for each event.
std::vector<std::string> played(const std::string& steps) {
    std::vector<std::string> lines;
    for (const Event& event : timelineOf(parseScenario("{\"steps\": [" + steps + "]}", "s.json"), 4711)) {
        lines.push_back(fmt::format("{:g} {} {}", event.at, nameOf(event.action), event.json));
    }
    return lines;
}

using Lines = std::vector<std::string>;

TEST(Timeline, SortsByTimeAndKeepsTheOrderOfOneMoment) {
    EXPECT_EQ(played(R"({"at": 2, "do": "quit"}, {"at": 1, "do": "report"}, {"at": 1, "do": "heartbeat"},
                        {"at": 0.5, "do": "wait"})"),
              (Lines{"0.5 wait ", "1 report ", "1 heartbeat ", "2 quit "}));
}

TEST(Timeline, RepeatsUpToAndWithUntil) {
    EXPECT_EQ(played(R"({"at": 0.1, "do": "heartbeats", "every": 0.1, "until": 0.3})").size(), 3U);
    EXPECT_EQ(played(R"({"at": 1, "do": "heartbeats", "every": 5, "until": 5.9})").size(), 1U);
}

TEST(Timeline, ParametersGetTheClientsProcessIdUnlessTheyHaveOne) {
    EXPECT_EQ(
        played(R"({"at": 0, "do": "parameters", "with": {}},
                        {"at": 0, "do": "parameters", "with": {"processID": "1"}},
                        {"at": 0, "do": "report-and-exit", "with": {"a": 1}},
                        {"at": 0, "do": "report-and-exit"},
                        {"at": 0, "do": "meeting-data", "with": {}})"),
        (Lines{R"(0 parameters {"processID":4711})", R"(0 parameters {"processID":"1"})",
               R"(0 report-and-exit {"a":1,"processID":4711})", "0 report-and-exit ", "0 meeting-data {}"}));
}

TEST(Timeline, ChangesAddUpEventsDoNot) {
    EXPECT_EQ(played(R"({"at": 0, "do": "meeting-data", "every": 1, "until": 4,
                         "with": {"event": {"eventType": 2}, "n": {"s": 1, "t": 1}},
                         "changes": [{"n": {"s": 2}}, {"event": {"eventType": 1}}, {"n": null}]})"),
              (Lines{R"(0 meeting-data {"event":{"eventType":2},"n":{"s":1,"t":1}})",
                     R"(1 meeting-data {"n":{"s":2,"t":1}})",
                     R"(2 meeting-data {"event":{"eventType":1},"n":{"s":2,"t":1}})", "3 meeting-data {}",
                     "4 meeting-data {}"}));
}

TEST(Timeline, FreezeStopsHeartbeatsThatBeganBeforeIt) {
    EXPECT_EQ(played(R"({"at": 0, "do": "heartbeats", "every": 2, "until": 8}, {"at": 3, "do": "freeze"},
                        {"at": 7, "do": "heartbeats", "every": 1, "until": 8}, {"at": 9, "do": "heartbeat"})"),
              (Lines{"0 heartbeats ", "2 heartbeats ", "3 freeze ", "7 heartbeats ", "8 heartbeats ",
                     "9 heartbeat "}));
}

TEST(CommandLine, ErrorsNameTheOption) {
    struct Case {
        std::vector<std::string> arguments;
        const char* expected;
    };
    for (const Case& c : {Case{{"a.json", "b.json"}, "expected one scenario, found 2"},
                          {{}, "expected one scenario, found 0"},
                          {{"--speed", "0", "a"}, "--speed: expected a number above 0"},
                          {{"--timeout=1s", "a"}, "--timeout: expected a number above 0"},
                          {{"--bogus", "a"}, "unknown option --bogus"},
                          {{"a", "--assistant"}, "--assistant: a value is missing"}}) {
        std::vector<std::string> texts{"sim"};
        texts.insert(texts.end(), c.arguments.begin(), c.arguments.end());
        std::vector<char*> arguments;
        for (std::string& text : texts) {
            arguments.push_back(text.data());
        }
        const int count = static_cast<int>(arguments.size());
        arguments.push_back(nullptr);
        try {
            parseOptions(count, arguments.data());
            ADD_FAILURE() << "no error: " << c.expected;
        } catch (const UsageError& error) {
            EXPECT_EQ(std::string(error.what()).rfind(c.expected, 0), 0U) << error.what();
        }
    }
}

}  // namespace
}  // namespace clientsim
