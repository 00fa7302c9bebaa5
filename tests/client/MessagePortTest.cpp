// Meeting data against a real socket where the assistant would have opened its port.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <optional>
#include <thread>

#include "TestAssistant.h"

namespace clienttest {
namespace {

/// The assistant's end of the port.
class PortServer {
public:
    PortServer(const std::string& folder, GPid pid) {
        // Through the working folder: the path may be longer than a socket address.
        char before[4096];
        EXPECT_NE(getcwd(before, sizeof before), nullptr);
        EXPECT_EQ(chdir(folder.c_str()), 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        snprintf(address.sun_path, sizeof address.sun_path, "com.tellan.orvane.orvanedga.%d", pid);
        listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(listener_, 4), 0);
        EXPECT_EQ(chdir(before), 0);
    }

    ~PortServer() {
        hangUp();
        close(listener_);
    }
    PortServer(const PortServer&) = delete;
    PortServer& operator=(const PortServer&) = delete;

    void accept() { peer_ = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC); }

    void hangUp() {
        if (peer_ >= 0) {
            close(peer_);
            peer_ = -1;
        }
    }

    /// Exactly so many bytes, or fewer at the end.
    std::string read(size_t size, size_t portion = 65536, int pauseMicroseconds = 0) const {
        std::string bytes;
        std::string buffer(portion, '\0');
        while (bytes.size() < size) {
            const ssize_t count = ::read(peer_, buffer.data(), std::min(portion, size - bytes.size()));
            if (count <= 0) {
                break;
            }
            bytes.append(buffer.data(), static_cast<size_t>(count));
            usleep(static_cast<useconds_t>(pauseMicroseconds));
        }
        return bytes;
    }

private:
    int listener_ = -1;
    int peer_ = -1;
};

class MessagePort : public testing::Test {
protected:
    void start(const std::string& runtimeFolder, const char* body = "exec sleep 60") {
        const Environment runtime("XDG_RUNTIME_DIR", runtimeFolder.c_str());
        const Environment noBus("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
        assistant_.emplace(folder_.script("assistant", body));
    }

    bool send(const std::string& text) {
        return orvane_dga_send_meeting_data(assistant_->get(), text.c_str(), error_.out()) != FALSE;
    }

    TemporaryFolder folder_;
    std::optional<Assistant> assistant_;
    Error error_;
};

TEST_F(MessagePort, FramesAreIdLengthAndBytes) {
    start(folder_.path());
    PortServer server(folder_.path(), assistant_->pid());
    ASSERT_TRUE(send("{\"a\":\"Ö\"}")) << error_.message();
    ASSERT_TRUE(send("")) << error_.message();
    ASSERT_TRUE(send(std::string(258, 'x'))) << error_.message();
    server.accept();
    const std::string expected = std::string("\0\0\0\0\x0a\0\0\0{\"a\":\"\xc3\x96\"}", 18) +
                                 std::string("\0\0\0\0\0\0\0\0", 8) + std::string("\0\0\0\0\x02\x01\0\0", 8) +
                                 std::string(258, 'x');
    EXPECT_EQ(server.read(expected.size()), expected);
}

TEST_F(MessagePort, SlowReaderGetsEveryByte) {
    start(folder_.path());
    PortServer server(folder_.path(), assistant_->pid());
    constexpr size_t kMessages = 3;
    std::string received;
    std::thread reader([&] {
        server.accept();
        usleep(200000);
        received = server.read(kMessages * (8 + ORVANE_DGA_MESSAGE_MAX), 30011, 500);
    });
    std::string expected;
    for (size_t index = 0; index < kMessages; ++index) {
        std::string text(ORVANE_DGA_MESSAGE_MAX, static_cast<char>('a' + index));
        text.back() = '!';
        EXPECT_TRUE(send(text)) << error_.message();
        expected += std::string("\0\0\0\0\0\0\x10\0", 8) + text;
    }
    reader.join();
    EXPECT_TRUE(received == expected) << received.size() << " of " << expected.size() << " bytes";
}

TEST_F(MessagePort, ReaderThatStopsIsGivenUpAfterTheTimeout) {
    start(folder_.path());
    PortServer server(folder_.path(), assistant_->pid());
    orvane_dga_set_port_timeout(assistant_->get(), 150);
    bool sent = true;
    for (int count = 0; sent && count < 50; ++count) {
        sent = send(std::string(ORVANE_DGA_MESSAGE_MAX, 'x'));
    }
    EXPECT_FALSE(sent);
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_PORT);
    EXPECT_NE(error_.message().find("read nothing"), std::string::npos) << error_.message();
    EXPECT_FALSE(send("{}")) << "half a message was written: the connection must not be used again";
}

TEST_F(MessagePort, ClosedByTheAssistantIsAClearError) {
    start(folder_.path());
    PortServer server(folder_.path(), assistant_->pid());
    ASSERT_TRUE(send("{}")) << error_.message();
    server.accept();
    server.hangUp();
    const auto before = std::signal(SIGPIPE, SIG_DFL);  // it would end this program
    for (int round = 0; round < 2; ++round) {
        EXPECT_FALSE(send("{}"));
        EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_PORT);
        EXPECT_NE(error_.message().find("closed"), std::string::npos) << error_.message();
    }
    std::signal(SIGPIPE, before);
}

TEST_F(MessagePort, RefusedTextLeavesTheConnection) {
    start(folder_.path());
    PortServer server(folder_.path(), assistant_->pid());
    EXPECT_FALSE(send(std::string(ORVANE_DGA_MESSAGE_MAX + 1, 'x')));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_TOO_LONG);
    EXPECT_FALSE(send("\xc3"));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_TEXT);
    EXPECT_TRUE(send("{}")) << error_.message();
    server.accept();
    EXPECT_EQ(server.read(10), std::string("\0\0\0\0\2\0\0\0{}", 10));
}

TEST_F(MessagePort, PortThatOpensLateIsAwaited) {
    start(folder_.path());
    std::optional<PortServer> server;
    std::thread opener([&] {
        usleep(200000);
        server.emplace(folder_.path(), assistant_->pid());
    });
    EXPECT_TRUE(send("{}")) << error_.message();
    opener.join();
}

TEST_F(MessagePort, LongRuntimeFolderWorks) {
    std::string folder = folder_.path();
    for (int depth = 0; depth < 3; ++depth) {
        folder += "/" + std::string(80, 'd');
        ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    }
    start(folder);
    const PortServer server(folder, assistant_->pid());
    EXPECT_TRUE(send("{}")) << error_.message();
}

TEST_F(MessagePort, MissingPortFailsOnceSlowlyThenAtOnce) {
    start(folder_.path());
    orvane_dga_set_port_timeout(assistant_->get(), 200);
    EXPECT_FALSE(send("{}"));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_PORT);
    EXPECT_NE(error_.message().find("could not be reached"), std::string::npos) << error_.message();
    orvane_dga_set_port_timeout(assistant_->get(), 20000);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_FALSE(send("{}"));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
}

TEST_F(MessagePort, PortOfAnAssistantThatEndedIsNotAwaited) {
    start(folder_.path(), "exit 0");
    ASSERT_TRUE(orvane_dga_wait_exit(assistant_->get(), 5000, nullptr));
    const auto before = std::chrono::steady_clock::now();
    EXPECT_FALSE(send("{}"));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(3));
    EXPECT_NE(error_.message().find("has ended"), std::string::npos) << error_.message();
}

TEST_F(MessagePort, FolderThatOthersCanWriteToIsNotTrusted) {
    const std::string open = folder_.path() + "/open";
    ASSERT_EQ(mkdir(open.c_str(), 0700), 0);
    ASSERT_EQ(chmod(open.c_str(), 0777), 0);
    start(open);
    orvane_dga_set_port_timeout(assistant_->get(), 50);
    const PortServer server(open, assistant_->pid());
    EXPECT_FALSE(send("{}"));
    EXPECT_EQ(error_.code(), ORVANE_DGA_ERROR_PORT) << error_.message();
}

}  // namespace
}  // namespace clienttest
