// The simulator as a program, against assistants made of shell scripts.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>

#include "TestAssistant.h"

namespace clienttest {
namespace {

const char* const kQuit = R"({"at": 0, "do": "heartbeat"}, {"at": 0.1, "do": "quit"})";
const char* const kWait = R"({"at": 0.1, "do": "wait"})";
const char* const kCrash = R"({"at": 0.1, "do": "crash"})";

class Simulator : public testing::Test {
protected:
    void simulate(const std::string& body, const std::string& steps, const std::string& options = "") {
        const std::string assistant = folder_.script("assistant", body);
        const std::string scenario = folder_.path() + "/scenario.json";
        std::ofstream(scenario) << "{\"steps\": [" << steps << "]}";
        call(options + " --assistant " + assistant + " " + scenario);
    }

    void call(const std::string& arguments) {
        const std::string command = std::string(SIMULATOR_PATH) + " " + arguments + " 2>&1";
        FILE* const pipe = popen(command.c_str(), "re");
        output_.clear();
        for (int byte = 0; (byte = fgetc(pipe)) != EOF;) {
            output_ += static_cast<char>(byte);
        }
        status_ = WEXITSTATUS(pclose(pipe));
    }

    TemporaryFolder folder_;
    int status_ = -1;
    std::string output_;
};

TEST_F(Simulator, ExitStatusTellsHowTheAssistantDid) {
    struct Case {
        std::string body;
        const char* steps;
        const char* options;
        int status;
        const char* output;  ///< a part of it
    };
    const std::string endless = postReady() + "exec sleep 30";
    const std::string untilQuit = postReadyAndAwait("APP_EXIT");
    const Case cases[] = {
        {untilQuit, kQuit, "", 0, "quit"},
        {untilQuit + "exit 4", kQuit, "", 1, "ended with status 4"},
        {postReady() + "sleep 0.4; kill -SEGV $$", kCrash, "", 1, "signal 11"},
        {postReadyAndAwait("KEEP_ALIVE"), R"({"at": 0, "do": "heartbeat"}, {"at": 60, "do": "wait"})", "", 1,
         "status 0 before the scenario was over"},
        {"exit 0", kQuit, "", 1, "ended before it was ready"},
        {endless, kQuit, "--timeout 0.1", 1, "sent SIGTERM"},
        {endless, kWait, "--timeout 0.1", 0, "sent SIGTERM"},
        {"trap '' TERM\n" + postReady() + "while :; do sleep 0.1; done", kWait, "--timeout 0.1", 1,
         "SIGKILL"},
        // The client's process id is the parent's, until the client has gone and somebody has collected it.
        {"client=$PPID\n" + postReady() +
             "for try in $(seq 100); do\n"
             "  kill -0 $client 2>/dev/null || exit 0\n  sleep 0.1\ndone\nexit 9",
         kCrash, "", 0, "crash"},
    };
    for (const Case& c : cases) {
        simulate(c.body, c.steps, c.options);
        EXPECT_EQ(status_, c.status) << c.body << c.steps << output_;
        EXPECT_NE(output_.find(c.output), std::string::npos) << c.body << output_;
    }
}

TEST_F(Simulator, KeepLeavesTheAssistantRunning) {
    const std::string pidFile = folder_.path() + "/pid";
    simulate("echo $$ > " + pidFile + "\n" + postReady() + "exec sleep 30 >&- 2>&-", kQuit,
             "--keep --timeout 0.1");
    EXPECT_EQ(status_, 0) << output_;
    pid_t assistant = 0;
    std::ifstream(pidFile) >> assistant;
    ASSERT_GT(assistant, 1);
    EXPECT_EQ(kill(assistant, SIGKILL), 0);
}

TEST_F(Simulator, SetReplacesParametersByJsonOrText) {
    const std::string seen = folder_.path() + "/seen";
    simulate(postReadyAndAwait("APP_EXIT") + "cp $seen " + seen,
             R"({"at": 0, "do": "parameters", "with": {"confId": "1"}}, {"at": 0.2, "do": "quit"})",
             "--set confId=http://a/?b=c --set serviceType=10");
    EXPECT_EQ(status_, 0) << output_;
    std::stringstream text;
    text << std::ifstream(seen).rdbuf();
    EXPECT_NE(text.str().find(R"("confId":"http://a/?b=c")"), std::string::npos) << text.str();
    EXPECT_NE(text.str().find(R"("serviceType":10)"), std::string::npos) << text.str();
}

TEST_F(Simulator, SpeedDividesTheTimes) {
    const auto before = std::chrono::steady_clock::now();
    simulate(postReadyAndAwait("APP_EXIT"), R"({"at": 300, "do": "quit"})", "--speed 1000");
    EXPECT_EQ(status_, 0) << output_;
    EXPECT_EQ(output_.find(", every"), std::string::npos) << "of a step that is not repeated";
    const auto took = std::chrono::steady_clock::now() - before;
    EXPECT_GE(took, std::chrono::milliseconds(300));
    EXPECT_LT(took, std::chrono::seconds(20));
}

TEST_F(Simulator, ShowsAndCopiesTheTraceOfAFolderThatIsRemoved) {
    const std::string copy = folder_.path() + "/copy.csv";
    simulate(
        "run=/tmp/orvdga/orvanedga_meeting_20261115_171300_$$; mkdir -p $run; umask 077\n"
        "printf 'V2Vla2x5\\n2026-11-15 17:13:00' > $run/orvdga_topic.txt\n"
        "echo '40,1,1,client quit,0,,0,,0,T,3' > $run/orvdga_trace_meeting_20261115_171300.csv\n" +
            postReadyAndAwait("APP_EXIT") + "sleep 0.5; rm -r $run",
        kQuit, "--quiet --show --trace-out " + copy);
    EXPECT_EQ(status_, 0) << output_;
    for (const char* part : {"Ready:     after ", "ended with status 0", "\"Weekly\", 2026-11-15 17:13:00",
                             "T     client quit"}) {
        EXPECT_NE(output_.find(part), std::string::npos) << part << "\n" << output_;
    }
    std::string line;
    std::ifstream file(copy);
    std::getline(file, line);
    EXPECT_EQ(line, "40,1,1,client quit,0,,0,,0,T,3");
}

TEST_F(Simulator, TheClientEndsWithASimulatorThatIsKilled) {
    const std::string assistant = folder_.script("assistant", postReady() + "exec sleep 30");
    const std::string scenario = folder_.path() + "/scenario.json";
    std::ofstream(scenario) << R"({"steps": [{"at": 0, "do": "heartbeat"}, {"at": 60, "do": "quit"}]})";
    const std::string script =
        std::string(SIMULATOR_PATH) + " --assistant " + assistant + " " + scenario +
        " > /dev/null 2>&1 & simulator=$!\n"
        "until client=$(pgrep -P $simulator) && pgrep -P $client; do sleep 0.05; done\n"
        "kill -KILL $simulator\n"
        "for try in $(seq 100); do kill -0 $client || exit 0; sleep 0.05; done\nexit 1";
    EXPECT_EQ(std::system(("exec > /dev/null 2>&1; " + script).c_str()), 0);
}

TEST_F(Simulator, BadInputIsStatusTwoAndNamed) {
    struct Case {
        const char* arguments;
        const char* message;
    };
    for (const Case& c : {Case{"", "SCENARIO is required"},
                          {"a.json b.json", "not expected: b.json"},
                          {"--speed 0 a", "--speed: expected a number above 0"},
                          {"--timeout=1s a", "--timeout: expected a number above 0"},
                          {"--bogus hello", "not expected: --bogus"},
                          {"--set =1 a", "--set: expected NAME=VALUE"},
                          {"a --assistant", "--assistant: 1 required"},
                          {"no-such-scenario", "no-such-scenario"},
                          {"/", "/"}}) {
        call(c.arguments);
        EXPECT_EQ(status_, 2) << c.arguments;
        EXPECT_NE(output_.find(c.message), std::string::npos) << output_;
    }
}

TEST_F(Simulator, InstalledScenariosAreFoundByNameAndPlay) {
    const std::string assistant = folder_.script("assistant", postReady() + "exec sleep 30");
    for (const char* name : {"quit", "freeze.json"}) {
        call("--speed 200 --timeout 0.1 --assistant " + assistant + " " + name);
        EXPECT_NE(output_.find("sent SIGTERM"), std::string::npos) << name << output_;
    }
}

}  // namespace
}  // namespace clienttest
