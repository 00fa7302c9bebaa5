// Starting the assistant, its ready notification, what is posted to it, and how it ends.

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <vector>

#include "TestAssistant.h"

namespace clienttest {
namespace {

using Clock = std::chrono::steady_clock;

/// Another member of the bus that writes down every notification as "name|object|user info".
class Listener {
public:
    Listener() : connection_(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr)) {
        subscription_ = g_dbus_connection_signal_subscribe(
            connection_, nullptr, "com.tellan.orvane.DistributedNotifications", "Posted",
            "/com/tellan/orvane/DistributedNotifications", nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
            [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* body,
               gpointer self) { static_cast<Listener*>(self)->write(body); },
            this, nullptr);
        // An answer to a later call: the subscription is in force.
        g_variant_unref(g_dbus_connection_call_sync(
            connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId",
            nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
    }
    ~Listener() {
        g_dbus_connection_signal_unsubscribe(connection_, subscription_);
        g_object_unref(connection_);
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

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

    GDBusConnection* connection_;
    guint subscription_;
    std::vector<std::string> seen_;
};

class ClientLibrary : public testing::Test {
protected:
    Assistant start(const std::string& body) { return startAssistant(folder_.script("assistant", body)); }

    TemporaryFolder folder_;
    Error error_;
};

TEST_F(ClientLibrary, FreeingLeavesNothingOpen) {
    orvane_dga_free(nullptr);
    const auto handles = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    start("exec sleep 60");  // what stays is there now
    const auto before = handles();
    for (int i = 0; i < 3; ++i) {
        start("exec sleep 60");
    }
    for (int i = 0; i < 500 && handles() > before; ++i) {
        g_usleep(10000);  // the bus connection ends on a thread of its own
    }
    EXPECT_LE(handles(), before);
}

TEST_F(ClientLibrary, ReadyComesFromTheStartedProcessOnly) {
    const Assistant other = start(postReady() + "exec sleep 60");
    EXPECT_TRUE(orvane_dga_wait_ready(other.get(), 5000, error_.out())) << error_.message();
    const Assistant late = start("sleep 1\n" + postReady() + "exec sleep 60");
    EXPECT_FALSE(orvane_dga_wait_ready(late.get(), 50, error_.out()));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_TIMEOUT) << error_.message();
    EXPECT_TRUE(orvane_dga_wait_ready(late.get(), 5000, error_.out())) << error_.message();
}

TEST_F(ClientLibrary, ReadyThatCameBeforeTheWaitIsNotMissed) {
    Listener listener;
    const Assistant assistant = start(postReady() + "exec sleep 60");
    EXPECT_EQ(listener.waitFor(1).size(), 1U);
    EXPECT_TRUE(orvane_dga_wait_ready(assistant.get(), 5000, error_.out())) << error_.message();
    EXPECT_TRUE(orvane_dga_wait_ready(assistant.get(), 0, error_.out())) << "asked again";
}

TEST_F(ClientLibrary, WaitForReadyEndsWithTheAssistant) {
    const Assistant assistant = start("exit 3");
    const auto before = Clock::now();
    EXPECT_FALSE(orvane_dga_wait_ready(assistant.get(), 30000, error_.out()));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_ENDED) << error_.message();
    EXPECT_LT(Clock::now() - before, std::chrono::seconds(10));
}

TEST_F(ClientLibrary, PostsNamesAndPayloadsOfTheProtocolInOrder) {
    Listener listener;
    const Assistant assistant = start("exec sleep 60");
    OrvaneDga* const dga = assistant.get();
    EXPECT_FALSE(orvane_dga_send_parameters(dga, "{\"a\":\"\xff\"}", error_.out()));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_TEXT) << "and the connection still works";
    EXPECT_TRUE(orvane_dga_send_parameters(dga, R"({"confName":"Öl"})", error_.out()));
    EXPECT_TRUE(orvane_dga_heartbeat(dga, error_.out()));
    orvane_dga_set_activation_token(dga, "once");
    EXPECT_TRUE(orvane_dga_request_report(dga, error_.out()));
    EXPECT_TRUE(orvane_dga_request_report(dga, error_.out()));
    orvane_dga_set_activation_token(dga, "another");
    EXPECT_TRUE(orvane_dga_report_and_exit(dga, "{}", error_.out()));
    orvane_dga_set_activation_token(dga, "no \"token\"");
    EXPECT_TRUE(orvane_dga_report_and_exit(dga, nullptr, error_.out()));
    EXPECT_TRUE(orvane_dga_quit(dga, error_.out()));
    const std::string end = "_" + std::to_string(orvane_dga_pid(dga)) + "||";
    const std::vector<std::string> expected{
        "ORVANE_DGA_PASSING_JSON_DATA" + end + R"({'DgaJsonData': <'{"confName":"Öl"}'>})",
        "ORVANE_DGA_KEEP_ALIVE" + end + "{}",
        "ORVANE_DGA_GENERATE_REPORT" + end + "{'activationToken': <'once'>}",
        "ORVANE_DGA_GENERATE_REPORT" + end + "{}",
        "ORVANE_DGA_GENERATE_REPORT_AND_EXIT" + end +
            "{'DgaJsonData': <'{}'>, 'activationToken': <'another'>}",
        "ORVANE_DGA_GENERATE_REPORT_AND_EXIT" + end + "{}",
        "ORVANE_DGA_APP_EXIT" + end + "{}",
    };
    EXPECT_EQ(listener.waitFor(expected.size()), expected);
}

/// What a callback is told, as lines.
struct Told {
    static void note(const OrvaneDgaEvent* event, void* data) {
        const auto text = [](const char* part) { return std::string(part != nullptr ? part : "-"); };
        auto* const self = static_cast<Told*>(data);
        const std::lock_guard<std::mutex> hold(self->mutex);
        self->lines.push_back(event->kind == ORVANE_DGA_EVENT_READY
                                  ? "ready " + std::to_string(event->protocol) + " " + text(event->version)
                                  : text(event->number) + " " + text(event->state) + " " +
                                        text(event->reason));
    }
    std::vector<std::string> waitFor(size_t count, int tries = 500) {
        for (int i = 0; i < tries && copy().size() < count; ++i)
            g_usleep(10000);
        return copy();
    }
    std::vector<std::string> copy() {
        const std::lock_guard<std::mutex> hold(mutex);
        return lines;
    }
    std::mutex mutex;
    std::vector<std::string> lines;
};

TEST_F(ClientLibrary, HearsWhatTheAssistantTellsWhateverItsVersion) {
    const std::string post =
        "post() { gdbus emit --session --object-path /com/tellan/orvane/DistributedNotifications --signal"
        " com.tellan.orvane.DistributedNotifications.Posted \"'ORVANE_DGA_$1'\" \"''\" \"$2\"; }\n";
    const std::string newer =
        post + "post APP_READY_$$ \"@a{sv} {'protocol': <2>, 'version': <'1.2'>, 'more': <[1]>}\"\n" +
        "seen=$(mktemp); dbus-monitor --session > $seen & until grep -q KEEP_ALIVE $seen; do sleep 0.05; "
        "done\n" +
        "post REPORT_RESULT_1 \"@a{sv} {'number': <'other'>, 'state': <'made'>}\"\n" +
        "post REPORT_RESULT_$$ \"@a{sv} {'number': <'7_x'>, 'state': <'failed'>, 'reason': <'no room'>}\"\n" +
        "post REPORT_RESULT_$$ \"@a{sv} {'number': <7>}\"\n" +
        "post REPORT_RESULT_$$ \"@a{sv} {'number': <'7_x'>, 'state': <'kept'>}\"\nexec sleep 60";
    const Assistant assistant = start(newer);
    EXPECT_TRUE(orvane_dga_wait_ready(assistant.get(), 5000, error_.out())) << error_.message();
    EXPECT_EQ(orvane_dga_protocol(assistant.get()), 2);
    Told told;
    orvane_dga_set_callback(assistant.get(), &Told::note, &told);
    while (told.waitFor(2, 10).size() < 2 && orvane_dga_heartbeat(assistant.get(), nullptr) != FALSE) {
    }
    EXPECT_EQ(told.waitFor(3), (std::vector<std::string>{"ready 2 1.2", "7_x failed no room", "7_x kept -"}));
    orvane_dga_set_callback(assistant.get(), nullptr, nullptr);

    const Assistant older = start(postReady() + "exec sleep 60");
    Told old;
    orvane_dga_set_callback(older.get(), &Told::note, &old);
    EXPECT_EQ(old.waitFor(1), std::vector<std::string>{"ready 1 "});
    EXPECT_EQ(orvane_dga_protocol(older.get()), 1);
}

// What an assistant of protocol 1 does: it reads.
TEST_F(ClientLibrary, WithoutABusAnOlderAssistantCountsAsProtocolOne) {
    const Environment noBus("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const Assistant older = start(
        "exec socat -u UNIX-LISTEN:$XDG_RUNTIME_DIR/com.tellan.orvane.orvanedga.$$ OPEN:" + folder_.path() +
        "/got,creat");
    EXPECT_EQ(orvane_dga_protocol(older.get()), 0);
    EXPECT_TRUE(orvane_dga_wait_ready(older.get(), 5000, error_.out())) << error_.message();
    EXPECT_EQ(orvane_dga_protocol(older.get()), 1);
    EXPECT_TRUE(orvane_dga_quit(older.get(), error_.out())) << error_.message();
}

TEST_F(ClientLibrary, WhatWasPostedArrivesAlthoughTheClientIsKilledNext) {
    Listener listener;
    const std::string scenario = folder_.path() + "/scenario.json";
    std::ofstream(scenario) << R"({"steps":[{"at":0,"do":"quit"},{"at":0,"do":"crash"}]})";
    const std::string command = std::string(SIMULATOR_PATH) + " --quiet --assistant " +
                                folder_.script("assistant", postReadyAndAwait("APP_EXIT")) + " " + scenario;
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
    for (const Case& c : {Case{"exit 7", ORVANE_DGA_STATE_EXITED, 7},
                          {"kill -TERM $$; sleep 9", ORVANE_DGA_STATE_KILLED, SIGTERM}}) {
        const Assistant assistant = start(c.body);
        EXPECT_TRUE(orvane_dga_wait_exit(assistant.get(), 5000, error_.out())) << error_.message();
        int code = -1;
        EXPECT_EQ(orvane_dga_state(assistant.get(), &code), c.state) << c.body;
        EXPECT_EQ(code, c.code) << c.body;
    }
    const Assistant running = start("exec sleep 60");
    EXPECT_FALSE(orvane_dga_wait_exit(running.get(), 50, error_.out()));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_TIMEOUT);
    EXPECT_EQ(orvane_dga_start("/nonexistent/assistant", error_.out()), nullptr);
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_START);
}

TEST_F(ClientLibrary, WithNeitherBusNorPortCallsFailInTheirTime) {
    for (const bool lost : {true, false}) {
        const Environment noBus("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
        GTestDBus* const bus = g_test_dbus_new(G_TEST_DBUS_NONE);
        if (lost) {
            g_test_dbus_up(bus);
        }
        const Assistant assistant = start("exec sleep 60");
        orvane_dga_set_port_timeout(assistant.get(), 50);
        if (lost) {
            EXPECT_TRUE(orvane_dga_heartbeat(assistant.get(), error_.out())) << error_.message();
            g_test_dbus_stop(bus);
        }
        const auto before = Clock::now();
        EXPECT_FALSE(orvane_dga_wait_ready(assistant.get(), 50, error_.out()));
        EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_TIMEOUT) << error_.message();
        EXPECT_FALSE(orvane_dga_quit(assistant.get(), error_.out()));
        EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_BUS) << error_.message();
        EXPECT_LT(Clock::now() - before, std::chrono::seconds(5));
        g_object_unref(bus);
    }
}

}  // namespace
}  // namespace clienttest
