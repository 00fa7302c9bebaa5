#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

#include "platform/RunLoop.h"
#include "platform/Task.h"
#include "platform/net/InternetPassword.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

std::string shell(const std::string& script) {
    platform::Task task;
    task.program = "/bin/sh";
    task.arguments = {"-c", script};
    task.surroundings = platform::Task::Surroundings::desktop;
    task.limit = 20s;
    return platform::runTask(task).output;
}

void store(const std::string& password, const std::string& attributes) {
    const auto output =
        shell("printf %s " + password +
              " | secret-tool store --label=test xdg:schema org.gnome.keyring.NetworkPassword " + attributes);
    EXPECT_EQ(output, "");
}

std::string found(const std::string& server, uint16_t port, const std::string& protocol) {
    std::string text;
    int turns = 0;
    const platform::Timer turning(platform::RunLoop::main(), 10ms, true, [&turns] { ++turns; });
    const auto begin = Clock::now();
    platform::findInternetPassword(server, port, protocol, [&](const auto& password) {
        text = password ? password->account + ":" + password->password : "none";
        platform::RunLoop::main().stop();
    });
    EXPECT_LT(Clock::now() - begin, 200ms) << "waits";
    platform::RunLoop::main().runFor(20s);
    EXPECT_TRUE(turns > 5 || Clock::now() - begin < 500ms) << "the loop turns meanwhile";
    return text;
}

// One after another: a bus without a service, a keyring that is open, one that is locked, one that hangs.
TEST(Keyring, AnswersOrIsLeftAlone) {
    auto start = Clock::now();
    EXPECT_EQ(found("proxy.example", 3128, "http"), "none");
    EXPECT_LT(Clock::now() - start, 1s) << "no service";

    // It goes into the background before it can be reached.
    EXPECT_EQ(shell("echo -n password | gnome-keyring-daemon --unlock --components=secrets >/dev/null 2>&1; "
                    "gdbus wait --session --timeout 15 org.freedesktop.secrets"),
              "");
    store("exact", "server proxy.example port 3128 protocol http user me");
    store("loose", "server proxy.example user anyone");
    store("other", "server proxy.example port 81 protocol ftp user they");
    EXPECT_EQ(found("proxy.example", 3128, "http"), "me:exact");
    EXPECT_EQ(found("proxy.example", 8080, "http"), "anyone:loose");
    EXPECT_EQ(found("proxy.example", 81, "http"), "anyone:loose");
    EXPECT_EQ(found("elsewhere.example", 3128, "http"), "none");

    shell("secret-tool lock");
    start = Clock::now();
    EXPECT_EQ(found("proxy.example", 3128, "http"), "none");
    EXPECT_LT(Clock::now() - start, 2s) << "locked";

    const std::string pid = shell(
        "gdbus call --session --dest org.freedesktop.DBus --object-path / --method "
        "org.freedesktop.DBus.GetConnectionUnixProcessID org.freedesktop.secrets | tr -dc '0-9 ' | cut -d' ' "
        "-f2");
    ASSERT_GT(std::atoi(pid.c_str()), 1) << pid;
    shell("kill -STOP " + pid);
    start = Clock::now();
    EXPECT_EQ(found("proxy.example", 3128, "http"), "none");
    EXPECT_LT(Clock::now() - start, 4s) << "hangs";
    shell("kill -KILL " + pid);
}

}  // namespace
