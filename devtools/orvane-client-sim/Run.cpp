#include "Run.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>

#include "Player.h"
#include "PlayerReport.h"
#include "RunFiles.h"
#include "Timeline.h"
#include "TraceGroups.h"
#include "TracePrinter.h"
#include "devtools/trace/Printable.h"

namespace clientsim {

using tracefile::parseTopic;
using tracefile::parseTrace;
using tracefile::printable;
using tracefile::Trace;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kLookIntervalMs = 50;
constexpr auto kTermPatience = std::chrono::seconds(2);
constexpr const char* kRunFolders = "orvdga";
constexpr const char* kLogFolder = "orvtrace/dga";

/// How a process ended, in words.
std::string endInWords(bool bySignal, long code) {
    return bySignal ? fmt::format("was ended by signal {} ({})", code, strsignal(static_cast<int>(code)))
                    : fmt::format("ended with status {}", code);
}

class Run {
public:
    Run(const Scenario& scenario, const Options& options) : scenario_(scenario), options_(options) {}

    int go() {
        int ends[2];
        if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0 || pipe2(ends, O_CLOEXEC) != 0) {
            fail(std::strerror(errno));
            return 1;
        }
        player_ = fork();
        if (player_ < 0) {
            fail(std::strerror(errno));
            return 1;
        }
        if (player_ == 0) {
            playAndExit(ends);
        }
        close(ends[1]);
        PlayerLines lines(ends[0]);
        watchPlayer(lines);
        judgePlayer();
        if (assistant_ > 0 && !assistantEnded_ && !options_.keep) {
            endAssistant();
        }
        if (assistantEnded_ && (endedBySignal_ || endCode_ != 0) && !terminated_ && !judged_) {
            fail("the assistant " + endInWords(endedBySignal_, endCode_));
        }
        report();
        return failed_ ? 1 : 0;
    }

private:
    void fail(const std::string& text) {
        failed_ = true;
        fmt::print(stderr, "orvane-client-sim: {}\n", printable(text));
    }

    [[noreturn]] void playAndExit(const int (&ends)[2]) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        signal(SIGPIPE, SIG_IGN);
        close(ends[0]);
        play(scenario_, options_, PlayerReporter(ends[1]));
        _exit(0);
    }

    void watchPlayer(PlayerLines& lines) {
        while (!playerEnded_ || !lines.isAtEnd()) {
            lines.wait(kLookIntervalMs);
            while (const auto line = lines.next()) {
                hear(*line);
            }
            look();
        }
    }

    void hear(const PlayerLine& line) {
        switch (line.told) {
            case Told::started:
                assistant_ = static_cast<pid_t>(line.value);
                break;
            case Told::ready:
                readyMicroseconds_ = line.value;
                break;
            case Told::step:
                if (!options_.quiet) {
                    fmt::print("{}\n", line.text);
                    std::fflush(stdout);
                }
                break;
            case Told::goodbye:
                toldToEnd_ = true;
                break;
            case Told::failed:
                fail(line.text);
                break;
            case Told::exited:
                noteEnd(false, line.value);
                break;
            case Told::killed:
                noteEnd(true, line.value);
                break;
            case Told::lost:
                noteEnd(false, 0);
                fail("the assistant ended, and its exit status was lost");
                break;
            case Told::crashing:
            case Told::done:
                playerFinished_ = true;
                break;
        }
    }

    void noteEnd(bool bySignal, long code) {
        assistantEnded_ = true;
        endedBySignal_ = bySignal;
        endCode_ = code;
    }

    /// Files that have appeared, processes that have ended.
    void look() {
        if (assistant_ > 0) {
            files_.look(assistant_);
        }
        int status = 0;
        for (pid_t ended = 0; (ended = waitpid(-1, &status, WNOHANG)) > 0;) {
            if (ended == player_) {
                playerEnded_ = true;
            } else if (ended == assistant_) {
                noteEnd(WIFSIGNALED(status), WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status));
            }
        }
    }

    void judgePlayer() {
        if (playerFinished_ || failed_) {
            return;
        }
        if (!assistantEnded_) {
            fail("the simulated client ended unexpectedly");
        } else if (!toldToEnd_) {
            judged_ = true;
            fail(fmt::format("the assistant {} before the scenario was over",
                             endInWords(endedBySignal_, endCode_)));
        }
    }

    bool assistantEndsWithin(std::chrono::milliseconds time) {
        const auto deadline = Clock::now() + time;
        look();
        while (!assistantEnded_ && Clock::now() < deadline) {
            usleep(kLookIntervalMs * 1000);
            look();
        }
        return assistantEnded_;
    }

    void endAssistant() {
        const bool expected = endsByPlan(scenario_);
        if (assistantEndsWithin(options_.timeout)) {
            return;
        }
        const std::string text = fmt::format("the assistant still ran {} s after the scenario: sent SIGTERM",
                                             static_cast<double>(options_.timeout.count()) / 1000);
        terminated_ = true;
        kill(assistant_, SIGTERM);
        if (expected) {
            fail(text + " (--keep leaves it running)");
        } else {
            fmt::print("{}\n", text);
        }
        if (!assistantEndsWithin(kTermPatience)) {
            kill(assistant_, SIGKILL);
            fail("the assistant did not end on SIGTERM: sent SIGKILL");
            assistantEndsWithin(kTermPatience);
        }
    }

    void report() {
        const std::string trace = files_.trace();
        if (!options_.traceOut.empty()) {
            std::ofstream file(options_.traceOut, std::ios::binary | std::ios::trunc);
            file << trace;
            file.close();
            if (!files_.hasTrace()) {
                fail("there was no trace file to copy");
            } else if (!file) {
                fail(options_.traceOut + ": cannot be written");
            }
        }
        if (options_.show) {
            show(trace);
        }
    }

    void show(const std::string& trace) {
        if (!scenario_.description.empty()) {
            fmt::print("\nScenario:  {}\n", printable(scenario_.description));
        }
        if (readyMicroseconds_) {
            fmt::print("Ready:     after {:.1f} ms\n", static_cast<double>(*readyMicroseconds_) / 1000);
        } else {
            fmt::print("Ready:     never\n");
        }
        const std::string end = assistantEnded_ ? endInWords(endedBySignal_, endCode_) : "still runs";
        fmt::print("Assistant: process {} {}\n", assistant_, assistant_ > 0 ? end : "was not started");
        const std::string log = newestLog(storeFolders(kLogFolder), startedAt_);
        fmt::print("Log:       {}\n", log.empty() ? "none found" : log);
        showTopic();
        const Trace parsed = parseTrace(trace);
        fmt::print("Trace:     {}\n{}", files_.hasTrace() ? "" : "no file",
                   options_.grouped ? groupedTrace(parsed) : traceTable(parsed));
    }

    void showTopic() {
        if (!files_.hasTopic()) {
            fmt::print("Topic:     no file\n");
        } else if (const auto topic = parseTopic(files_.topic())) {
            fmt::print("Topic:     \"{}\", {}\n", printable(topic->meetingName), printable(topic->time));
        } else {
            fmt::print("Topic:     not readable: {}\n", printable(files_.topic()));
        }
    }

    const Scenario& scenario_;
    const Options& options_;
    const std::chrono::system_clock::time_point startedAt_ = std::chrono::system_clock::now();
    RunFiles files_{storeFolders(kRunFolders)};
    pid_t player_ = 0;
    pid_t assistant_ = 0;
    std::optional<long> readyMicroseconds_;
    bool toldToEnd_ = false;
    bool playerFinished_ = false;
    bool playerEnded_ = false;
    bool assistantEnded_ = false;
    bool endedBySignal_ = false;
    long endCode_ = 0;
    bool terminated_ = false;
    bool judged_ = false;
    bool failed_ = false;
};

}  // namespace

int run(const Scenario& scenario, const Options& options) {
    return Run(scenario, options).go();
}

}  // namespace clientsim
