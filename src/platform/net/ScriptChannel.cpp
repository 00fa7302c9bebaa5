#include "platform/net/ScriptChannel.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include "platform/RunLoop.h"
#include "platform/Task.h"

namespace platform {
namespace {

constexpr uint32_t kLongestMessage = uint32_t{64} * 1024;
constexpr size_t kPiece = size_t{16} * 1024;

void append(std::string& bytes, uint32_t value) {
    for (int i = 0; i < 4; ++i)
        bytes += static_cast<char>(value >> (8 * i) & 0xff);
}

}  // namespace

std::unique_ptr<ScriptChannel> ScriptChannel::start(const std::string& program, Received received,
                                                    std::function<void()> broken) {
    std::array<int, 2> sockets{};
    std::array<int, 2> stop{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0)
        return nullptr;
    if (pipe2(stop.data(), O_CLOEXEC) != 0) {
        close(sockets[0]);
        close(sockets[1]);
        return nullptr;
    }
    Task task;
    task.program = program;
    task.surroundings = Task::Surroundings::none;
    if (const char* zone = getenv("TZ"))
        task.arguments = {zone};
    task.output = Task::Output::toHandle;
    task.handle = sockets[1];
    task.stopHandle = stop[0];
    const bool started = startTask(task, nullptr);
    close(sockets[1]);
    close(stop[0]);
    if (started)
        return std::unique_ptr<ScriptChannel>(
            new ScriptChannel(sockets[0], stop[1], std::move(received), std::move(broken)));
    close(sockets[0]);
    close(stop[1]);
    return nullptr;
}

ScriptChannel::ScriptChannel(int socket, int stop, Received received, std::function<void()> broken)
    : socket_(socket),
      stop_(stop),
      received_(std::move(received)),
      broken_(std::move(broken)),
      reader_(kLongestMessage) {
    watch();
}

ScriptChannel::~ScriptChannel() {
    g_source_destroy(source_);
    g_source_unref(source_);
    close(stop_);
    close(socket_);
}

void ScriptChannel::send(int32_t id, std::string_view data) {
    append(unsent_, static_cast<uint32_t>(id));
    append(unsent_, static_cast<uint32_t>(data.size()));
    unsent_ += data;
    // An error shows when the socket is read.
    if (write())
        watch();
}

// A source for what is awaited now: messages always, room for more only while something is unsent.
void ScriptChannel::watch() {
    if (source_) {
        g_source_destroy(source_);
        g_source_unref(source_);
    }
    source_ = g_unix_fd_source_new(socket_,
                                   unsent_.empty() ? G_IO_IN : static_cast<GIOCondition>(G_IO_IN | G_IO_OUT));
    const GUnixFDSourceFunc ready = [](gint, GIOCondition condition, gpointer self) -> gboolean {
        static_cast<ScriptChannel*>(self)->serve((condition & ~G_IO_OUT) != 0);
        return G_SOURCE_CONTINUE;
    };
    g_source_set_callback(source_, reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(ready)), this,
                          nullptr);
    // What is told of a message may wait for the next one.
    g_source_set_can_recurse(source_, TRUE);
    g_source_attach(source_, RunLoop::main().context());
}

void ScriptChannel::serve(bool readable) {
    const std::weak_ptr<int> alive = alive_;
    bool whole = true;
    if (!unsent_.empty() && write() && unsent_.empty())
        watch();
    if (readable)
        whole = read();
    while (!alive.expired() && reader_.front() == FrameReader::Front::message) {
        // The message's bytes live no longer than the next read.
        const auto message = reader_.takeMessage();
        const std::string data(message.data);
        const auto received = received_;
        received({message.id, data});
    }
    if (alive.expired() || (whole && reader_.front() != FrameReader::Front::tooLong))
        return;
    g_source_destroy(source_);
    if (const auto broken = std::exchange(broken_, nullptr))
        broken();
}

bool ScriptChannel::write() {
    while (!unsent_.empty()) {
        const ssize_t count = ::send(socket_, unsent_.data(), unsent_.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno == EAGAIN;
        unsent_.erase(0, static_cast<size_t>(count));
    }
    return true;
}

bool ScriptChannel::read() {
    const auto room = reader_.room(kPiece);
    const ssize_t count = recv(socket_, room.data(), room.size(), MSG_DONTWAIT);
    if (count > 0)
        reader_.push(static_cast<size_t>(count));
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

}  // namespace platform
