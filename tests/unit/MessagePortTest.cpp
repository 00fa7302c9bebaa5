#include "platform/MessagePort.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "DgaIpcMessageListener/DgaIpcMessageListener.h"
#include "platform/RunLoop.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using platform::MessagePort;
using platform::RunLoop;

std::string frame(const std::string& bytes, int32_t id = 0) {
    const auto length = static_cast<uint32_t>(bytes.size());
    std::string text(8, '\0');
    std::memcpy(text.data(), &id, 4);
    std::memcpy(text.data() + 4, &length, 4);
    return text + bytes;
}

class Peer {
public:
    explicit Peer(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        connected = connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~Peer() { close(socket_); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void send(std::string_view bytes) const {
        // Blocks until everything is taken, or the other end is closed.
        ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }
    std::string receive(size_t length) const {
        std::string bytes(length, '\0');
        const ssize_t count = recv(socket_, bytes.data(), length, MSG_DONTWAIT);
        bytes.resize(count > 0 ? static_cast<size_t>(count) : 0);
        return bytes;
    }
    bool isDisconnected() const {
        char byte = 0;
        const ssize_t count = recv(socket_, &byte, 1, MSG_DONTWAIT);
        return count == 0 || (count < 0 && errno == ECONNRESET);
    }

    bool connected = false;

private:
    int socket_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

class MessagePortTest : public testing::Test {
protected:
    void open(const std::string& name = "test.port", const MessagePort::Limits& limits = {}) {
        const auto take = [this](MessagePort& port, int32_t id, auto data) {
            if (id == kNoMemory)
                throw std::bad_alloc();
            got_.push_back(std::to_string(id) + ":" + (data ? std::string(*data) : "(none)"));
            if (id == kHold)
                port.setHeld(true);
        };
        port_ = MessagePort::createLocal(name, take, limits);
        if (port_)
            port_->schedule(RunLoop::current());
    }

    // Serves the loop until so many messages have come, for ten seconds at most.
    void serveUntil(size_t messages) const {
        for (int i = 0; i < 1000 && got_.size() < messages; ++i)
            RunLoop::current().runFor(10ms);
    }

    static void serve() { RunLoop::current().runFor(100ms); }

    static constexpr int32_t kNoMemory = -77;
    static constexpr int32_t kHold = -78;
    std::unique_ptr<MessagePort> port_;
    std::vector<std::string> got_;
};

TEST_F(MessagePortTest, WhileItIsHeldItsPeersWaitAndNothingIsLost) {
    open();
    ASSERT_TRUE(port_);
    const Peer peer(port_->path());
    peer.send(frame("lost", kNoMemory) + frame("one", kHold) + frame("two") + frame("three").substr(0, 10));
    serveUntil(1);
    const Peer other(port_->path());
    other.send(frame("other"));
    peer.send(frame("three").substr(10));
    serve();
    EXPECT_EQ(got_, std::vector<std::string>{"-78:one"}) << "nor what cannot be held in memory";
    port_->setHeld(false);
    serveUntil(4);
    EXPECT_EQ(std::erase(got_, "0:other"), 1U);
    EXPECT_EQ(got_, (std::vector<std::string>{"-78:one", "0:two", "0:three"}));
}

TEST_F(MessagePortTest, PeersAndUnfinishedMessagesAreBounded) {
    const std::string big = frame(std::string(300000, 'b'));
    open("bounded", {.connections = 3, .messageTime = 300ms, .unfinishedBytes = 400000});
    ASSERT_TRUE(port_);
    auto slow = std::make_unique<Peer>(port_->path());
    slow->send(std::string_view(big).substr(0, 100000));
    const Peer slower(port_->path());
    std::thread client([&] {
        std::this_thread::sleep_for(50ms);
        slower.send(big);
    });
    auto third = std::make_unique<Peer>(port_->path());
    const Peer fourth(port_->path());
    fourth.send(frame("fourth"));
    serve();
    EXPECT_TRUE(got_.empty()) << "the second has no room, the fourth is too many";
    third.reset();
    serveUntil(1);
    EXPECT_EQ(got_, std::vector<std::string>{"0:fourth"});
    serveUntil(2);
    client.join();
    EXPECT_TRUE(slow->isDisconnected()) << "too slow";
    EXPECT_EQ(got_.back().size(), 300002U) << "its room went to the one that waited";
}

TEST_F(MessagePortTest, TooLongAMessageCostsOnlyItsOwnConnection) {
    open();
    ASSERT_TRUE(port_);
    EXPECT_EQ(std::filesystem::status(port_->path()).permissions() & std::filesystem::perms::mask,
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    const std::string longest(MessagePort::kMaxMessageLength, 'm');
    const Peer good(port_->path());
    const Peer bad(port_->path());
    bad.send(frame("before") + frame(longest + "m").substr(0, 8) + "after");
    serveUntil(1);
    std::thread client([&] {
        good.send(frame("", -2) + frame(longest, 3) + frame("four\xFF", 4));
        const Peer other(port_->path());
        other.send(frame("last") + frame("never whole").substr(0, 12));
    });
    serveUntil(5);
    client.join();
    EXPECT_TRUE(bad.isDisconnected());
    EXPECT_EQ(std::erase(got_, "0:last"), 1U) << "of another connection: at any moment";
    const std::vector<std::string> expected = {"0:before", "-2:(none)", "3:" + longest, "4:four\xFF"};
    EXPECT_TRUE(got_ == expected) << got_.size() << " messages";
}

TEST_F(MessagePortTest, APeerIsForgottenWhileAStartingProcessStillHoldsItsHandle) {
    open();
    ASSERT_TRUE(port_);
    const Peer bad(port_->path());
    bad.send(frame("before"));
    serveUntil(1);
    const pid_t starting = fork();
    if (starting == 0) {
        pause();
        _exit(0);
    }
    bad.send(frame(std::string(MessagePort::kMaxMessageLength + 1, 'm')).substr(0, 8));
    serve();
    bad.send("for nobody");
    const std::clock_t begin = std::clock();
    serve();
    EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC / 20) << "it keeps the loop awake";
    kill(starting, SIGKILL);
    waitpid(starting, nullptr, 0);
}

TEST_F(MessagePortTest, AFloodKeepsTheLoopTurning) {
    constexpr int kMessages = 20000;
    int64_t arrived = 0;
    port_ = MessagePort::createLocal("flood", [&](MessagePort&, int32_t id, auto) {
        EXPECT_EQ(id, arrived);
        if (++arrived == kMessages)
            RunLoop::current().stop();
        for (const auto until = Clock::now() + 20us; Clock::now() < until;) {
        }
    });
    ASSERT_TRUE(port_);
    port_->schedule(RunLoop::current());
    std::thread client([&] {
        const Peer peer(port_->path());
        std::string stream;
        for (int i = 0; i < kMessages; ++i)
            stream += frame("x", i);
        peer.send(stream);
    });
    auto last = Clock::now();
    auto longest = 0ns;
    platform::Timer beat(RunLoop::current(), 1ms, true, [&] {
        const auto now = Clock::now();
        longest = std::max<std::chrono::nanoseconds>(longest, now - last);
        last = now;
    });
    RunLoop::current().runFor(20s);
    client.join();
    EXPECT_EQ(arrived, kMessages);
    // 400 ms of work in all: one undivided burst would show. Generous, for a busy machine.
    EXPECT_LT(longest, 200ms);
}

TEST_F(MessagePortTest, ANameIsTakenByTheLivingOnly) {
    open("name");
    ASSERT_TRUE(port_);
    const std::string path = port_->path();
    EXPECT_FALSE(MessagePort::createLocal("name", nullptr)) << "someone listens";
    EXPECT_TRUE(Peer(path).connected);
    port_.reset();
    EXPECT_FALSE(std::filesystem::exists(path)) << "closing removes the socket";

    const pid_t child = fork();
    if (child == 0) {
        open("name");
        raise(SIGKILL);
    }
    waitpid(child, nullptr, 0);
    ASSERT_TRUE(std::filesystem::exists(path)) << "a killed owner leaves its socket";
    open("name");
    ASSERT_TRUE(port_) << "a stale socket is replaced";
    const Peer peer(path);
    peer.send(frame("hello"));
    serveUntil(1);
    EXPECT_EQ(got_, std::vector<std::string>{"0:hello"});
}

TEST_F(MessagePortTest, APeerOfAnotherUserIsRefused) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to become another user";
    open();
    ASSERT_TRUE(port_);
    // The folder and the socket keep others out already; open both to test the check behind them.
    chmod(port_->path().c_str(), 0666);
    const std::string folder = std::filesystem::path(port_->path()).parent_path();
    chmod(folder.c_str(), 0711);
    const pid_t child = fork();
    if (child == 0) {
        if (setgid(12345) != 0 || setuid(12345) != 0)
            _exit(77);
        const Peer peer(port_->path());
        peer.send(frame("intruder"));
        for (int i = 0; i < 500 && !peer.isDisconnected(); ++i)
            std::this_thread::sleep_for(10ms);
        _exit(peer.connected && peer.isDisconnected() ? 0 : 1);
    }
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0)
        RunLoop::current().runFor(10ms);
    chmod(folder.c_str(), 0700);
    if (WEXITSTATUS(status) == 77)
        GTEST_SKIP() << "cannot become another user here";
    EXPECT_EQ(WEXITSTATUS(status), 0) << "disconnected";
    EXPECT_TRUE(got_.empty());
}

TEST_F(MessagePortTest, FindsTheRuntimeFolderAndRefusesAnOpenOne) {
    const std::string given = std::getenv("XDG_RUNTIME_DIR");
    const std::string deep = "/tmp/" + std::string(100, 'd') + "/" + std::string(100, 'e');
    std::filesystem::create_directories(deep);
    std::filesystem::permissions(deep, std::filesystem::perms::owner_all);
    setenv("XDG_RUNTIME_DIR", deep.c_str(), 1);
    open();
    EXPECT_TRUE(port_) << "a long path is no obstacle";
    port_.reset();
    chmod(deep.c_str(), 0777);
    open();
    EXPECT_FALSE(port_) << "others could put a socket of their own there";
    const std::string standard = "/run/user/" + std::to_string(geteuid());
    const std::string own = "/tmp/com.tellan.orvane." + std::to_string(geteuid());
    for (const char* unusable : {"relative", "", static_cast<const char*>(nullptr)}) {
        for (const bool hasStandard : {true, false}) {
            std::error_code mayNot;
            if (!hasStandard)
                std::filesystem::rename(standard, standard + ".away", mayNot);
            unusable ? setenv("XDG_RUNTIME_DIR", unusable, 1) : unsetenv("XDG_RUNTIME_DIR");
            open();
            ASSERT_TRUE(port_);
            EXPECT_TRUE(geteuid() != 0 || std::filesystem::exists(standard) == hasStandard);
            EXPECT_EQ(port_->path(), (std::filesystem::exists(standard) ? standard : own) + "/test.port");
            port_.reset();
            if (!hasStandard)
                std::filesystem::rename(standard + ".away", standard, mayNot);
        }
    }
    setenv("XDG_RUNTIME_DIR", given.c_str(), 1);
}

struct RecordingSink final : DgaIpcMessageSink {
    void onMessageWithJsonData(const std::optional<std::string>& jsonData) override {
        got.push_back(jsonData.value_or("(none)"));
    }
    std::vector<std::string> got;
};

TEST(MessageListener, OneListenerAProcessAndOnlyUtf8Text) {
    RecordingSink sink;
    DgaIpcMessageListener listener;
    listener.initWithJsonMessageSink(&sink);
    ASSERT_TRUE(listener.isListening());
    {
        DgaIpcMessageListener second;
        second.initWithJsonMessageSink(nullptr);
        EXPECT_FALSE(second.isListening());
    }
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    ASSERT_TRUE(folder);
    const Peer peer(std::string(folder) + "/com.tellan.orvane.orvanedga." + std::to_string(getpid()));
    ASSERT_TRUE(peer.connected);
    peer.send(frame("{}") + frame("") + frame("\xC3\x28") + frame("grüße"));
    for (int i = 0; i < 1000 && sink.got.size() < 3; ++i)
        RunLoop::current().runFor(10ms);
    EXPECT_EQ(sink.got, (std::vector<std::string>{"{}", "(none)", "grüße"}))
        << "the second listener's end must not cut off the first";
}

TEST_F(MessagePortTest, TellsThoseThatAreKeptInformed) {
    const auto port = MessagePort::createLocal("told", [](MessagePort& asked, int32_t id, auto) {
        if (id == 1)
            asked.keepInformed(2, "hello");
    });
    port->schedule(RunLoop::main());
    const Peer informed(port->path());
    const Peer other(port->path());
    const Peer deaf(port->path());
    informed.send(frame("", 1) + frame("", 1));
    deaf.send(frame("", 1));
    other.send(frame("", 3));
    RunLoop::main().runFor(50ms);
    port->tell(4, "news");
    // What it does not read is lost to it, and to nobody else.
    for (int i = 0; i < 100; ++i)
        port->tell(5, std::string(60000, 'x'));
    EXPECT_EQ(informed.receive(frame("hello", 2).size() + frame("news", 4).size()),
              frame("hello", 2) + frame("news", 4));
    EXPECT_EQ(other.receive(1), "");
    other.send(frame("", 3));
    RunLoop::main().runFor(10ms);
    EXPECT_FALSE(other.isDisconnected());
}

}  // namespace
