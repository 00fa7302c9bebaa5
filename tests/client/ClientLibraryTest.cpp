// Starting the assistant, its ready notification, what is posted to it, and how it ends.

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>

#include "TestAssistant.h"

namespace clienttest {
namespace {

using Clock = std::chrono::steady_clock;

/// Another member of the bus that writes down every notification as "name|object|user info".
class Listener {
public:
    Listener() {
        char* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        connection_ = g_dbus_connection_new_for_address_sync(
            address,
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        g_free(address);
        g_dbus_connection_signal_subscribe(
            connection_, nullptr, "com.tellan.orvane.DistributedNotifications", "Posted",
            "/com/tellan/orvane/DistributedNotifications", nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
            [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* body,
               gpointer self) { static_cast<Listener*>(self)->write(body); },
            this, nullptr);
        // An answer to a later call: the subscription is in force.
        GVariant* answer = g_dbus_connection_call_sync(
            connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId",
            nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        g_variant_unref(answer);
    }

    ~Listener() {
        g_dbus_connection_close_sync(connection_, nullptr, nullptr);
        g_object_unref(connection_);
    }

    std::vector<std::string> waitFor(size_t count) {
        const auto deadline = Clock::now() + std::chrono::seconds(5);
        while (seen_.size() < count && Clock::now() < deadline) {
            if (g_main_context_iteration(nullptr, FALSE) == FALSE) {
                g_usleep(1000);
            }
        }
        return seen_;
    }

private:
    void write(GVariant* body) {
        const char* name = nullptr;
        const char* object = nullptr;
        GVariant* info = nullptr;
        g_variant_get(body, "(&s&s@a{sv})", &name, &object, &info);
        char* text = g_variant_print(info, FALSE);
        seen_.push_back(std::string(name) + "|" + object + "|" + text);
        g_free(text);
        g_variant_unref(info);
    }

    GDBusConnection* connection_ = nullptr;
    std::vector<std::string> seen_;
};

class ClientLibrary : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(bus_.isRunning()); }

    std::string script(const std::string& body) { return folder_.script("assistant", body); }

    TemporaryFolder folder_;
    PrivateBus bus_;
    Error error_;
};

TEST_F(ClientLibrary, ReadyComesFromTheStartedProcessOnly) {
    const Assistant other(folder_.script("other", postReady() + "exec sleep 60"));
    const Assistant late(script("sleep 0.4\n" + postReady() + "exec sleep 60"));
    EXPECT_TRUE(orvane_dga_wait_ready(other.get(), 5000, error_.out())) << error_.message();
    EXPECT_FALSE(orvane_dga_wait_ready(late.get(), 50, error_.out()));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_TIMEOUT) << error_.message();
    EXPECT_TRUE(orvane_dga_wait_ready(late.get(), 5000, error_.out())) << error_.message();
}

TEST_F(ClientLibrary, ReadyThatCameBeforeTheWaitIsNotMissed) {
    const Assistant assistant(script(postReady() + "touch " + folder_.path() + "/posted\nexec sleep 60"));
    for (int tries = 0; tries < 500 && access((folder_.path() + "/posted").c_str(), F_OK) != 0; ++tries) {
        g_usleep(10000);
    }
    g_usleep(100000);
    EXPECT_TRUE(orvane_dga_wait_ready(assistant.get(), 0, error_.out())) << error_.message();
    EXPECT_TRUE(orvane_dga_wait_ready(assistant.get(), 0, error_.out())) << "asked again";
}

TEST_F(ClientLibrary, WaitForReadyEndsWithTheAssistant) {
    const Assistant assistant(script("exit 3"));
    const auto before = Clock::now();
    EXPECT_FALSE(orvane_dga_wait_ready(assistant.get(), 30000, error_.out()));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_ENDED) << error_.message();
    EXPECT_LT(Clock::now() - before, std::chrono::seconds(10));
}

TEST_F(ClientLibrary, PostsNamesAndPayloadsOfTheProtocolInOrder) {
    Listener listener;
    const Assistant assistant(script("exec sleep 60"));
    OrvaneDga* const dga = assistant.get();
    EXPECT_TRUE(orvane_dga_send_parameters(dga, R"({"confName":"Öl"})", error_.out()));
    EXPECT_TRUE(orvane_dga_heartbeat(dga, error_.out()));
    EXPECT_TRUE(orvane_dga_request_report(dga, error_.out()));
    EXPECT_TRUE(orvane_dga_report_and_exit(dga, "{}", error_.out()));
    EXPECT_TRUE(orvane_dga_report_and_exit(dga, nullptr, error_.out()));
    EXPECT_TRUE(orvane_dga_quit(dga, error_.out()));
    const std::string end = "_" + std::to_string(assistant.pid()) + "||";
    const std::vector<std::string> expected{
        "ORVANE_DGA_PASSING_JSON_DATA" + end + R"({'DgaJsonData': <'{"confName":"Öl"}'>})",
        "ORVANE_DGA_KEEP_ALIVE" + end + "{}",
        "ORVANE_DGA_GENERATE_REPORT" + end + "{}",
        "ORVANE_DGA_GENERATE_REPORT_AND_EXIT" + end + "{'DgaJsonData': <'{}'>}",
        "ORVANE_DGA_GENERATE_REPORT_AND_EXIT" + end + "{}",
        "ORVANE_DGA_APP_EXIT" + end + "{}",
    };
    EXPECT_EQ(listener.waitFor(expected.size()), expected);
}

TEST_F(ClientLibrary, WhatWasPostedArrivesAlthoughTheClientIsKilledNext) {
    Listener listener;
    const std::string scenario = folder_.path() + "/scenario.json";
    std::ofstream(scenario) << R"({"steps":[{"at":0,"do":"quit"},{"at":0,"do":"crash"}]})";
    const std::string command = std::string(SIMULATOR_PATH) + " --quiet --assistant " +
                                script(postReady() + "exec sleep 0.5") + " " + scenario;
    EXPECT_EQ(system(command.c_str()), 0);
    const std::vector<std::string> seen = listener.waitFor(2);
    ASSERT_EQ(seen.size(), 2U);
    EXPECT_EQ(seen[1].rfind("ORVANE_DGA_APP_EXIT_", 0), 0U) << seen[1];
}

TEST_F(ClientLibrary, TellsHowTheAssistantEnded) {
    struct Case {
        const char* body;
        OrvaneDgaState state;
        int code;
    };
    for (const Case& c : {Case{"exit 0", ORVANE_DGA_STATE_EXITED, 0},
                          {"exit 7", ORVANE_DGA_STATE_EXITED, 7},
                          {"kill -TERM $$; sleep 9", ORVANE_DGA_STATE_KILLED, SIGTERM}}) {
        const Assistant assistant(script(c.body));
        EXPECT_TRUE(orvane_dga_wait_exit(assistant.get(), 5000, error_.out())) << error_.message();
        int code = -1;
        EXPECT_EQ(orvane_dga_state(assistant.get(), &code), c.state) << c.body;
        EXPECT_EQ(code, c.code) << c.body;
        EXPECT_FALSE(orvane_dga_is_alive(assistant.get()));
    }
    const Assistant running(script("exec sleep 60"));
    EXPECT_FALSE(orvane_dga_wait_exit(running.get(), 50, error_.out()));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_TIMEOUT);
    EXPECT_TRUE(orvane_dga_is_alive(running.get()));
}

TEST_F(ClientLibrary, MissingProgramFailsWithItsName) {
    EXPECT_EQ(orvane_dga_start("/nonexistent/assistant", error_.out()), nullptr);
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_START);
    EXPECT_NE(error_.message().find("/nonexistent/assistant"), std::string::npos);
    EXPECT_EQ(orvane_dga_start("/nonexistent/assistant", nullptr), nullptr) << "errors need not be asked for";
}

TEST_F(ClientLibrary, BrokenTextIsRefused) {
    const Assistant assistant(script("exec sleep 60"));
    EXPECT_FALSE(orvane_dga_send_parameters(assistant.get(), "{\"a\":\"\xff\"}", error_.out()));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_TEXT);
    EXPECT_TRUE(orvane_dga_heartbeat(assistant.get(), error_.out())) << "the connection still works";
}

TEST_F(ClientLibrary, LostBusIsAnErrorAndNotTheEndOfTheClient) {
    const Assistant assistant(script("exec sleep 60"));
    ASSERT_TRUE(orvane_dga_heartbeat(assistant.get(), error_.out()));
    bus_.stop();
    EXPECT_FALSE(orvane_dga_wait_ready(assistant.get(), 20000, error_.out()));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_BUS) << error_.message();
    EXPECT_FALSE(orvane_dga_heartbeat(assistant.get(), error_.out()));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_BUS) << error_.message();
}

TEST(ClientLibraryWithoutBus, StartsAndFailsAtOnceWhereTheBusIsNeeded) {
    const Environment noBus("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const TemporaryFolder folder;
    const Assistant assistant(folder.script("assistant", "exec sleep 60"));
    Error error;
    const auto before = Clock::now();
    EXPECT_FALSE(orvane_dga_wait_ready(assistant.get(), 30000, error.out()));
    EXPECT_EQ(error.code(), ORVANE_DGA_ERROR_BUS);
    EXPECT_LT(Clock::now() - before, std::chrono::seconds(5));
    EXPECT_FALSE(orvane_dga_quit(assistant.get(), error.out()));
    EXPECT_EQ(error.code(), ORVANE_DGA_ERROR_BUS);
    EXPECT_NE(error.message().find("no session bus"), std::string::npos) << error.message();
}

}  // namespace
}  // namespace clienttest
