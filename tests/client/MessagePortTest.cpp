// Meeting data against a real socket where the assistant would have opened its port.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <thread>

#include "TestAssistant.h"

namespace clienttest {
namespace {

class MessagePort : public testing::Test {
protected:
    ~MessagePort() override {
        hangUp();
        close(listener_);
    }

    void start(const char* body = "exec sleep 60") {
        const Environment runtime("XDG_RUNTIME_DIR", runtime_);
        const Environment noBus("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
        assistant_ = startAssistant(folder_.script("assistant", body));
    }

    bool send(const std::string& text) {
        return orvane_dga_send_meeting_data(assistant_.get(), text.c_str(), error_.out()) != FALSE;
    }

    /// Opens the port as the assistant would.
    void listen() {
        const std::string name =
            "/com.tellan.orvane.orvanedga." + std::to_string(orvane_dga_pid(assistant_.get()));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        (folder_.path() + "/p").copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(listener_, 4), 0);
        // The path may be longer than a socket address.
        std::filesystem::rename(address.sun_path, runtime_ + name);
    }
    void accept() { peer_ = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC); }
    void hangUp() { close(std::exchange(peer_, -1)); }

    /// So many bytes, or fewer at the end.
    std::string read(size_t size) const {
        std::string bytes;
        char buffer[30011];
        ssize_t count = 0;
        while (bytes.size() < size &&
               (count = ::read(peer_, buffer, std::min(sizeof buffer, size - bytes.size()))) > 0) {
            bytes.append(buffer, static_cast<size_t>(count));
            usleep(500);
        }
        return bytes;
    }

    TemporaryFolder folder_;
    std::string runtime_ = folder_.path();
    Assistant assistant_;
    Error error_;
    int listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int peer_ = -1;
};

TEST_F(MessagePort, SlowReaderOfAPortThatOpensLateGetsEveryByte) {
    start();
    const std::string longest(ORVANE_DGA_MESSAGE_MAX, 'a');
    const std::string expected = std::string("\0\0\0\0\x0a\0\0\0{\"a\":\"\xc3\x96\"}", 18) +
                                 std::string("\0\0\0\0\0\0\0\0", 8) + std::string("\0\0\0\0\0\0\x10\0", 8) +
                                 longest + std::string("\0\0\0\0\x02\x01\0\0", 8) + std::string(258, 'x');
    std::string received;
    std::thread reader([&] {
        usleep(100000);
        listen();
        accept();
        usleep(100000);
        received = read(expected.size());
    });
    for (const std::string& text :
         {std::string("{\"a\":\"Ö\"}"), std::string(), longest, std::string(258, 'x')}) {
        EXPECT_TRUE(send(text)) << error_.message();
    }
    reader.join();
    EXPECT_TRUE(received == expected) << received.size() << " of " << expected.size() << " bytes";
}

TEST_F(MessagePort, ReaderThatStopsIsGivenUpAfterTheTimeout) {
    start();
    listen();
    orvane_dga_set_port_timeout(assistant_.get(), 100);
    bool sent = true;
    for (int count = 0; sent && count < 50; ++count) {
        sent = send(std::string(ORVANE_DGA_MESSAGE_MAX, 'x'));
    }
    EXPECT_FALSE(sent);
    EXPECT_NE(error_.message().find("read nothing"), std::string::npos) << error_.message();
    EXPECT_FALSE(send("{}")) << "half a message was written: the connection must not be used again";
}

TEST_F(MessagePort, ClosedByTheAssistantIsAClearError) {
    start();
    listen();
    ASSERT_TRUE(send("{}")) << error_.message();
    accept();
    hangUp();
    const auto before = std::signal(SIGPIPE, SIG_DFL);  // it would end this program
    EXPECT_FALSE(send("{}"));
    std::signal(SIGPIPE, before);
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_PORT);
    EXPECT_NE(error_.message().find("closed"), std::string::npos) << error_.message();
}

TEST_F(MessagePort, RefusedTextLeavesTheConnectionOfALongFolder) {
    for (int depth = 0; depth < 3; ++depth) {
        runtime_ += "/" + std::string(80, 'd');
        ASSERT_EQ(mkdir(runtime_.c_str(), 0700), 0);
    }
    start();
    listen();
    EXPECT_FALSE(send(std::string(ORVANE_DGA_MESSAGE_MAX + 1, 'x')));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_TOO_LONG);
    EXPECT_FALSE(send("\xc3"));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_TEXT);
    EXPECT_TRUE(send("{}")) << error_.message();
    accept();
    EXPECT_EQ(read(10), std::string("\0\0\0\0\2\0\0\0{}", 10));
}

TEST_F(MessagePort, TakesTheNotificationsOfAClientWithoutABus) {
    start();
    listen();
    EXPECT_TRUE(orvane_dga_wait_ready(assistant_.get(), 0, error_.out())) << error_.message();
    EXPECT_TRUE(orvane_dga_send_parameters(assistant_.get(), "{}", error_.out())) << error_.message();
    EXPECT_TRUE(orvane_dga_quit(assistant_.get(), error_.out())) << error_.message();
    accept();
    EXPECT_EQ(read(26), std::string("\x02\x44VO\0\0\0\0\x01\x44VO\2\0\0\0{}\x05\x44VO\0\0\0\0", 26));
}

TEST_F(MessagePort, UpdatesAreMergedIntoTheWholeState) {
    start();
    listen();
    struct Case {
        const char* update;
        const char* whole;  ///< nothing is sent without
    };
    std::string expected;
    for (const Case& c : {
             Case{"{}", R"({"network":{"networkStatus":1}})"},
             Case{R"({"event":{"eventType":3}, "b":{"y":-2147483648,"x_1":5}})",
                  R"({"b":{"x_1":5,"y":-2147483648},"event":{"eventType":3},"network":{"networkStatus":1}})"},
             Case{R"({"b":{"x_1":6,"z":7,"z2":2147483648}})", nullptr},
             Case{R"({"b":{"x\"":6}})", nullptr},
             Case{R"({"b":{"x":6}} more)", nullptr},
             Case{R"({"network":{"networkStatus":2},"b":{}})",
                  R"({"b":{"x_1":5,"y":-2147483648},"network":{"networkStatus":2}})"},
         }) {
        const bool sent = orvane_dga_update_meeting_data(assistant_.get(), c.update, error_.out()) != FALSE;
        EXPECT_EQ(sent, c.whole != nullptr) << c.update << error_.message();
        if (c.whole) {
            expected +=
                std::string(4, '\0') + static_cast<char>(strlen(c.whole)) + std::string(3, '\0') + c.whole;
        } else {
            EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_TEXT) << error_.message();
        }
    }
    accept();
    EXPECT_EQ(read(expected.size()), expected);
}

TEST_F(MessagePort, MissingPortFailsOnceSlowlyThenAtOnce) {
    start();
    orvane_dga_set_port_timeout(assistant_.get(), 100);
    EXPECT_FALSE(send("{}"));
    EXPECT_NE(error_.message().find("could not be reached"), std::string::npos) << error_.message();
    orvane_dga_set_port_timeout(assistant_.get(), 20000);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_FALSE(send("{}"));
    start("exit 0");
    ASSERT_TRUE(orvane_dga_wait_exit(assistant_.get(), 5000, nullptr));
    orvane_dga_set_port_timeout(assistant_.get(), 20000);
    EXPECT_FALSE(send("{}"));
    EXPECT_NE(error_.message().find("has ended"), std::string::npos) << error_.message();
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
}

TEST_F(MessagePort, FolderThatOthersCanWriteToIsNotTrusted) {
    ASSERT_EQ(chmod(runtime_.c_str(), 0777), 0);
    start();
    listen();
    orvane_dga_set_port_timeout(assistant_.get(), 50);
    EXPECT_FALSE(send("{}"));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_PORT) << error_.message();
}

}  // namespace
}  // namespace clienttest
