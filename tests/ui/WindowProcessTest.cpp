#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <future>

#include "DGAMonitor/DGACoreWindowServices.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAMonitor/Windows/DGAWindowProcess.h"
#include "platform/RunLoop.h"
#include "support/telemetry_sender/TelemetrySender.h"

// The windows as the core sees them: this program links no toolkit.

namespace {

using namespace std::chrono_literals;

struct Answers final : DGAFrozeWindowDelegate {
    void frozeWindowButtonDidClickWithIndex(int index) override { indices.push_back(index); }
    std::vector<int> indices;
};

template <typename Condition>
bool eventually(Condition condition) {
    for (const auto end = std::chrono::steady_clock::now() + 10s; std::chrono::steady_clock::now() < end;) {
        if (condition())
            return true;
        platform::RunLoop::main().runFor(5ms);
    }
    return condition();
}

bool shell(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

bool isOnScreen() {
    return shell("xdotool search --onlyvisible --name 'Problem Reporting' >/dev/null 2>&1");
}

// By a command of its own: with a window it decides for the press and for the release how to send it, and a
// key that closes the window may then stay down.
void press(const std::string& keys) {
    shell(
        "xdotool search --sync --onlyvisible --name 'Problem Reporting' windowfocus --sync && "
        "xdotool " +
        keys);
}

class WindowProcessTest : public testing::Test {
protected:
    WindowProcessTest() {
        windows().setServices(std::make_shared<DGACoreWindowServices>());
        use({});
    }
    ~WindowProcessTest() override { windows().installFactory(nullptr); }

    void use(DGAWindowProcess::Settings settings) {
        process = std::make_shared<DGAWindowProcess>(std::move(settings));
        windows().installFactory(process);
    }
    /// As who takes a picture does: on another thread, until it is done.
    void hide(bool hidden) {
        const auto done = std::async(std::launch::async, [&] { process->setHidden(hidden); });
        EXPECT_TRUE(eventually([&] { return done.wait_for(0s) == std::future_status::ready; }));
    }
    std::shared_ptr<DGAFrozeWindowInterface> ask() {
        auto prompt = windows().makeFrozeWindow(answers);
        prompt->center();
        prompt->show();
        return prompt;
    }
    /// Writes a program that does so instead of showing windows.
    static std::string program(const std::string& script) {
        const std::string path = "/tmp/window-program";
        std::ofstream(path) << "#!/bin/bash\n" << script << "\n";
        shell("chmod 700 " + path);
        return path;
    }
    static std::string complaint(const std::function<void()>& call) {
        testing::internal::CaptureStderr();
        call();
        return testing::internal::GetCapturedStderr();
    }
    static DGAApplicationWindows& windows() { return DGAApplicationWindows::sharedWindows(); }

    std::shared_ptr<DGAWindowProcess> process;
    std::shared_ptr<Answers> answers = std::make_shared<Answers>();
};

TEST_F(WindowProcessTest, AWindowCountsFromTheRequestUntilItIsClosed) {
    const auto prompt = ask();
    EXPECT_TRUE(prompt->isVisible()) << "while it comes up";
    EXPECT_TRUE(windows().anyVisible());
    EXPECT_TRUE(eventually(isOnScreen));
    prompt->close();
    EXPECT_FALSE(windows().anyVisible());
    EXPECT_TRUE(eventually([] { return !isOnScreen(); }));

    const auto report = windows().makeProblemReportingWindow();
    report->showPRWindow();
    EXPECT_TRUE(eventually(isOnScreen));
    hide(true);
    EXPECT_TRUE(eventually([] { return !isOnScreen(); }));
    EXPECT_TRUE(report->isVisible()) << "taken off the screen for a picture only";
    hide(false);
    EXPECT_TRUE(eventually(isOnScreen));
    press("key Escape");
    EXPECT_TRUE(eventually([&] { return !report->isVisible(); })) << "closed by the user";
    EXPECT_TRUE(answers->indices.empty());
}

TEST_F(WindowProcessTest, AProgramThatDiesAnswersThePromptAndIsStartedAgain) {
    for (const char* const signal : {"KILL", "SEGV"}) {
        SCOPED_TRACE(signal);
        answers->indices.clear();
        const auto prompt = ask();
        ASSERT_TRUE(eventually(isOnScreen));
        const std::string said = complaint([&] {
            shell("pkill -" + std::string(signal) + " -P " + std::to_string(getpid()) + " orvanedga-windo");
            EXPECT_TRUE(eventually([&] { return !answers->indices.empty(); }));
        });
        EXPECT_EQ(answers->indices, std::vector{1});
        EXPECT_FALSE(prompt->isVisible());
        EXPECT_FALSE(windows().anyVisible());
        EXPECT_NE(said.find("its windows are gone"), std::string::npos) << said;
    }
}

TEST_F(WindowProcessTest, WhatWasTypedOutlivesTheProgram) {
    const auto draft = [] { return windows().services().draft().description; };
    const auto report = windows().makeProblemReportingWindow();
    report->showPRWindow();
    ASSERT_TRUE(eventually(isOnScreen));
    press("type 'no sound'");
    EXPECT_TRUE(eventually([&] { return draft() == "no sound"; })) << draft();
    complaint([&] {
        shell("pkill -KILL -P " + std::to_string(getpid()) + " orvanedga-windo");
        EXPECT_TRUE(eventually([&] { return !report->isVisible(); }));
    });
    report->showPRWindow();
    ASSERT_TRUE(eventually(isOnScreen));
    press("type ' at all'");
    EXPECT_TRUE(eventually([&] { return draft() == "no sound at all"; })) << draft();
    report->close();
}

TEST_F(WindowProcessTest, WithoutAProgramOrADisplayNobodyWaits) {
    const std::string display = getenv("DISPLAY");
    unsetenv("DISPLAY");
    EXPECT_NE(complaint([&] {
                  ask();
                  EXPECT_TRUE(eventually([&] { return answers->indices.size() == 1; }));
              }).find("no window can be shown: "),
              std::string::npos);
    setenv("DISPLAY", display.c_str(), 1);

    use({.program = "/nowhere/at-all"});
    ask();
    EXPECT_TRUE(eventually([&] { return answers->indices.size() == 2; }));
    EXPECT_FALSE(windows().anyVisible());

    use({.program = program("exit 3"), .mostStarts = 2});
    EXPECT_NE(complaint([&] {
                  for (size_t i = 3; i < 7; ++i) {
                      ask();
                      EXPECT_TRUE(eventually([&] { return answers->indices.size() == i; }));
                  }
              }).find("ended too often"),
              std::string::npos);
}

TEST_F(WindowProcessTest, AnUnknownMessageIsPassedOverAndATornOneEndsTheChannel) {
    // A message of kind 4711, then the answer 0 to the prompt, then that no window shows, which is out of
    // date; then an answer that is none.
    const std::string unknown = R"(printf '\x67\x12\0\0\x02\0\0\0{}' >&1)";
    const std::string answer = R"(printf '\x66\0\0\0\x0b\0\0\0{"index":0}' >&1)";
    const std::string idle = R"(printf '\x6e\0\0\0\x02\0\0\0{}' >&1)";
    const std::string torn = R"(printf '\x66\0\0\0\x03\0\0\0{"i' >&1)";
    use({.program = program(unknown + "\n" + answer + "\n" + idle + "\n" + torn + "\nsleep 60")});
    const std::string said = complaint([&] {
        ask();
        EXPECT_TRUE(eventually([&] { return answers->indices.size() == 2; }));
    });
    EXPECT_EQ(answers->indices, (std::vector{0, 1}));
    EXPECT_NE(said.find("unknown kind, 4711"), std::string::npos) << said;
    EXPECT_FALSE(process->isRunning());
}

TEST_F(WindowProcessTest, WhoPostsHearsTheWholeAnswer) {
    const auto post = [&] {
        OrvTelemetryAnswer answer{};
        int rounds = 0;
        const auto done = std::async(std::launch::async, [&] {
            process->post({.url = "http://metrics.example/",
                           .headers = nullptr,
                           .headerCount = 0,
                           .body = "",
                           .bodyLength = 0,
                           .connectMilliseconds = 1000,
                           .totalMilliseconds = 1000,
                           .verifyProxies = 0,
                           .keepGoing =
                               [](void* context) {
                                   std::ofstream("/tmp/asked") << "";
                                   return ++*static_cast<int*>(context) < 30 ? 1 : 0;
                               },
                           .context = &rounds},
                          answer);
        });
        EXPECT_TRUE(eventually([&] { return done.wait_for(0s) == std::future_status::ready; }));
        return answer;
    };
    OrvTelemetryAnswer answer = post();
    EXPECT_EQ(answer.mayHaveArrived, 0);
    EXPECT_STREQ(static_cast<const char*>(answer.fault), "the window program does not run");

    unlink("/tmp/asked");
    use({.program = program(
             R"(until [ -e /tmp/asked ]; do sleep 0.01; done; printf '\x6f\0\0\0\x4d\0\0\0%s' )"
             R"('{"number":1,"mayHaveArrived":true,"status":503,"retryAfter":7,"fault":"busy"}' >&1; sleep 60)")});
    ask();
    answer = post();
    EXPECT_EQ(answer.mayHaveArrived, 1);
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.retryAfter, 7);
    EXPECT_STREQ(static_cast<const char*>(answer.fault), "busy");
}

}  // namespace
