#include "Scenario.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "Timeline.h"

namespace clientsim {
namespace {

std::string errorOf(const std::string& text) {
    try {
        parseScenario(text, "s.json");
    } catch (const ScenarioError& error) {
        return error.what();
    }
    return "no error";
}

TEST(BadScenario, SaysWhereInTheFile) {
    struct Case {
        const char* text;
        const char* expected;  ///< the beginning of the message
    };
    const Case cases[] = {
        {"{\n  \"steps\": [\n    {\"at\" 0}\n  ]\n}", "s.json:3:11: syntax error"},
        {"{\"steps\": [", "s.json:1:12: syntax error"},
        {"", "s.json:1:1: syntax error"},
        {"[]", "s.json: expected an object with \"steps\", found []"},
        {"{}", "s.json: \"steps\" is missing: expected a list of steps"},
        {R"({"steps": []})", "s.json: \"steps\": expected a list of at least one step, found []"},
        {R"({"step": []})", "s.json: unknown key \"step\": expected description, steps"},
        {R"({"description": 1, "steps": []})", "s.json: \"description\": expected a text, found 1"},
        {R"({"steps": ["quit"]})", "s.json: step 1: expected an object, found \"quit\""},
        {R"({"steps": [{"at": 1, "at": 2, "do": "quit"}]})", "s.json: an object has the key \"at\" twice"},
        {R"({"steps": [{"at": 5, "do": "quit"}, {"at": 3, "do": "crash"}]})",
         "s.json: step 1 (quit): happens after step 2 (crash) has ended the client"},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE(errorOf(c.text).starts_with(c.expected)) << errorOf(c.text);
    }
}

TEST(BadScenario, SaysWhatIsWrongWithAStep) {
    struct Case {
        std::string step;
        const char* expected;  ///< the beginning of the message
    };
    const Case cases[] = {
        {R"("at": 1)", R"(: "do" is missing: expected one of parameters, heartbeat, )"},
        {R"("at": 1, "do": "dance")", R"(: "do": expected one of parameters, heartbeat, )"},
        {R"("do": "quit")", R"( (quit): "at" is missing: expected a number of seconds)"},
        {R"("at": -1, "do": "quit")",
         R"( (quit): "at": expected a number of seconds from 0 to 86400, found -1)"},
        {R"("do": "quit", "at": ")" + std::string(500, 'x') + "\"",
         R"( (quit): "at": expected a number of seconds from 0 to 86400, found "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...)"},
        {R"("at": 1, "do": "quit", "with": {})",
         R"( (quit): unknown key "with": expected one of at, do, comment)"},
        {R"("at": 1, "do": "parameters")", R"( (parameters): "with" is missing)"},
        {R"("at": 1, "do": "parameters", "with": [1])",
         R"( (parameters): "with": expected an object, found [1])"},
        {R"("at": 1, "do": "heartbeats", "every": 0, "until": 2)",
         R"( (heartbeats): "every": expected a number of seconds above 0, found 0)"},
        {R"("at": 5, "do": "heartbeats", "every": 1, "until": 2)",
         R"( (heartbeats): "until": expected a time not before "at" (5), found 2)"},
        {R"("at": 0, "do": "heartbeats", "every": 0.001, "until": 86400)",
         " (heartbeats): repeats more than 1000000 times"},
        {R"("at": 0, "do": "meeting-data", "with": {}, "every": 1)",
         R"( (meeting-data): "every" and "until" belong together)"},
        {R"("at": 0, "do": "meeting-data", "with": {}, "changes": [])",
         R"( (meeting-data): "changes" needs "every" and "until")"},
        {R"("at": 0, "do": "meeting-data", "with": {}, "every": 1, "until": 5, "changes": [{}, 7])",
         R"( (meeting-data): "changes", entry 2: expected an object, found 7)"},
        {R"("at": 0, "do": "meeting-data", "with": {}, "every": 0.5, "until": 0.9, "changes": [{}, {}])",
         R"( (meeting-data): "changes" has 2 entries, but only 1 messages follow the first)"},
    };
    for (const Case& c : cases) {
        const std::string error = errorOf(R"({"steps": [{"at": 0, "do": "report"}, {)" + c.step + "}]}");
        EXPECT_TRUE(error.starts_with(std::string("s.json: step 2") + c.expected)) << error;
        EXPECT_LT(error.size(), 220U);
    }
}

TEST(Timeline, PlaysTheSteps) {
    struct Case {
        const char* name;
        const char* steps;
        std::vector<std::string> expected;  ///< "time action json" of each event
    };
    const Case cases[] = {
        {"sorted by time, in the order of one moment",
         R"({"at": 2, "do": "quit"}, {"at": 1, "do": "report"}, {"at": 1, "do": "heartbeat"})",
         {"1 report ", "1 heartbeat ", "2 quit "}},
        {"up to and with until",
         R"({"at": 0.1, "do": "heartbeats", "every": 0.1, "until": 0.3})",
         {"0.1 heartbeats ", "0.2 heartbeats ", "0.3 heartbeats "}},
        {"the client's process id unless there is one",
         R"({"at": 0, "do": "parameters", "with": {}}, {"at": 0, "do": "report-and-exit"},
            {"at": 0, "do": "parameters", "with": {"processID": "1"}},
            {"at": 0, "do": "report-and-exit", "with": {"a": 1}})",
         {R"(0 parameters {"processID":4711})", "0 report-and-exit ", R"(0 parameters {"processID":"1"})",
          R"(0 report-and-exit {"a":1,"processID":4711})"}},
        {"changes add up, events do not",
         R"({"at": 0, "do": "meeting-data", "every": 1, "until": 4,
             "with": {"event": {"eventType": 2}, "n": {"s": 1, "t": 1}},
             "changes": [{"n": {"s": 2}}, {"event": {"eventType": 1}}, {"n": null}]})",
         {R"(0 meeting-data {"event":{"eventType":2},"n":{"s":1,"t":1}})",
          R"(1 meeting-data {"n":{"s":2,"t":1}})",
          R"(2 meeting-data {"event":{"eventType":1},"n":{"s":2,"t":1}})", "3 meeting-data {}",
          "4 meeting-data {}"}},
        {"freeze stops the heartbeats that began before it",
         R"({"at": 0, "do": "heartbeats", "every": 2, "until": 8}, {"at": 3, "do": "freeze"},
            {"at": 7, "do": "heartbeats", "every": 1, "until": 8})",
         {"0 heartbeats ", "2 heartbeats ", "3 freeze ", "7 heartbeats ", "8 heartbeats "}},
    };
    for (const Case& c : cases) {
        std::vector<std::string> lines;
        const Scenario scenario = parseScenario(std::string("{\"steps\": [") + c.steps + "]}", "s.json");
        for (const Event& event : timelineOf(scenario, 4711)) {
            lines.push_back(fmt::format("{:g} {} {}", event.at, nameOf(event.action), event.json));
        }
        EXPECT_EQ(lines, c.expected) << c.name;
    }
}

}  // namespace
}  // namespace clientsim
