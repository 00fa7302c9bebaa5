// The simulator as a program, against assistants made of shell scripts.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>

#include "TestAssistant.h"

namespace clienttest {
namespace {

struct Outcome {
    int status;
    std::string output;
};

class Simulator : public testing::Test {
protected:
    Outcome simulate(const std::string& body, const std::string& steps, const std::string& options = "") {
        const std::string assistant = folder_.script("assistant", body);
        const std::string scenario = folder_.path() + "/scenario.json";
        std::ofstream(scenario) << "{\"steps\": [" << steps << "]}";
        return call(options + " --assistant " + assistant + " " + scenario);
    }

    static Outcome call(const std::string& arguments) {
        const std::string command = std::string(SIMULATOR_PATH) + " " + arguments + " 2>&1";
        FILE* const pipe = popen(command.c_str(), "re");
        std::string output;
        for (int byte = 0; (byte = fgetc(pipe)) != EOF;) {
            output += static_cast<char>(byte);
        }
        return {WEXITSTATUS(pclose(pipe)), output};
    }

    TemporaryFolder folder_;
    PrivateBus bus_;
};

const char* const kQuit = R"({"at": 0, "do": "heartbeat"}, {"at": 0.2, "do": "quit"})";
const char* const kWait = R"({"at": 0.2, "do": "wait"})";
const char* const kCrash = R"({"at": 0.2, "do": "crash"})";

TEST_F(Simulator, ExitStatusTellsHowTheAssistantDid) {
    struct Case {
        std::string body;
        const char* steps;
        const char* options;
        int status;
        const char* output;  ///< a part of it
    };
    const std::string endless = postReady() + "exec sleep 30";
    const Case cases[] = {
        {postReady() + "sleep 0.5", kQuit, "", 0, "quit"},
        {postReady() + "sleep 0.5; exit 4", kQuit, "", 1, "ended with status 4"},
        {postReady() + "sleep 0.5; kill -SEGV $$", kCrash, "", 1, "signal 11"},
        {postReady() + "sleep 0.5", kCrash, "", 0, "crash"},
        {postReady(), R"({"at": 5, "do": "wait"})", "", 1,
         "ended with status 0 before the scenario was over"},
        {"exit 0", kQuit, "", 1, "ended before it was ready"},
        {endless, kQuit, "--timeout 0.2", 1, "sent SIGTERM"},
        {endless, kCrash, "--timeout 0.2", 1, "sent SIGTERM"},
        {endless, kWait, "--timeout 0.2", 0, "sent SIGTERM"},
        {"trap '' TERM\n" + postReady() + "while :; do sleep 0.1; done", kWait, "--timeout 0.2", 1,
         "SIGKILL"},
    };
    for (const Case& c : cases) {
        const Outcome outcome = simulate(c.body, c.steps, c.options);
        EXPECT_EQ(outcome.status, c.status) << c.body << c.steps << outcome.output;
        EXPECT_NE(outcome.output.find(c.output), std::string::npos) << c.body << outcome.output;
    }
}

TEST_F(Simulator, CrashIsARealOneAndTheAssistantSurvivesIt) {
    // The client's process id is the parent's, until the client has gone and somebody has collected it.
    const Outcome outcome = simulate("client=$PPID\n" + postReady() +
                                         "for try in 1 2 3 4 5 6 7 8 9 10; do\n"
                                         "  kill -0 $client 2>/dev/null || exit 0\n"
                                         "  sleep 0.2\ndone\nexit 9",
                                     kCrash);
    EXPECT_EQ(outcome.status, 0) << outcome.output;
}

TEST_F(Simulator, KeepLeavesTheAssistantRunning) {
    const std::string pidFile = folder_.path() + "/pid";
    const Outcome outcome = simulate("echo $$ > " + pidFile + "\n" + postReady() + "exec sleep 30 >&- 2>&-",
                                     kQuit, "--keep --timeout 0.1");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    pid_t assistant = 0;
    std::ifstream(pidFile) >> assistant;
    ASSERT_GT(assistant, 1);
    EXPECT_EQ(kill(assistant, SIGKILL), 0);
}

TEST_F(Simulator, SpeedDividesTheTimes) {
    const auto before = std::chrono::steady_clock::now();
    const Outcome outcome = simulate(postReady() + "sleep 1", R"({"at": 600, "do": "quit"})", "--speed 1000");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    const auto took = std::chrono::steady_clock::now() - before;
    EXPECT_GT(took, std::chrono::milliseconds(600));
    EXPECT_LT(took, std::chrono::seconds(20));
}

TEST_F(Simulator, ShowsAndCopiesTheTraceOfAFolderThatIsRemoved) {
    const std::string copy = folder_.path() + "/copy.csv";
    const Outcome outcome = simulate(
        "run=/tmp/orvdga/orvanedga_meeting_20261115_171300_$$; mkdir -p $run; umask 077\n"
        "printf 'V2Vla2x5\\n2026-11-15 17:13:00' > $run/orvdga_topic.txt\n"
        "echo '40,1,1,client quit,0,,0,,0,T,3' > $run/orvdga_trace_meeting_20261115_171300.csv\n" +
            postReady() + "sleep 0.5; rm -r $run",
        kQuit, "--quiet --show --trace-out " + copy);
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    for (const char* part : {"Ready:     after ", "ended with status 0", "\"Weekly\", 2026-11-15 17:13:00",
                             "T     client quit"}) {
        EXPECT_NE(outcome.output.find(part), std::string::npos) << part << "\n" << outcome.output;
    }
    std::string line;
    std::ifstream file(copy);
    std::getline(file, line);
    EXPECT_EQ(line, "40,1,1,client quit,0,,0,,0,T,3");
}

TEST_F(Simulator, BadInputIsStatusTwo) {
    for (const char* arguments : {"", "--bogus hello", "no-such-scenario", "/"}) {
        EXPECT_EQ(call(arguments).status, 2) << arguments;
    }
}

TEST_F(Simulator, InstalledScenariosAreFoundByNameAndPlay) {
    const std::string assistant = folder_.script("assistant", postReady() + "exec sleep 30");
    for (const char* name : {"quit", "quit.json", "freeze"}) {
        const Outcome outcome =
            call(std::string("--speed 100 --timeout 0.1 --assistant ") + assistant + " " + name);
        EXPECT_NE(outcome.output.find("sent SIGTERM"), std::string::npos) << name << outcome.output;
    }
}

}  // namespace
}  // namespace clienttest
