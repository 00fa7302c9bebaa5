#include "platform/FrameChannel.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "platform/RunLoop.h"

namespace platform {
namespace {

constexpr size_t kPiece = size_t{16} * 1024;

}  // namespace

std::unique_ptr<FrameChannel> FrameChannel::toProgram(Task task, uint32_t longest, Received received,
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
    task.output = Task::Output::toHandle;
    task.handle = sockets[1];
    task.stopHandle = stop[0];
    const bool started = startTask(task, nullptr);
    close(sockets[1]);
    close(stop[0]);
    if (!started) {
        close(sockets[0]);
        close(stop[1]);
        return nullptr;
    }
    auto channel =
        std::make_unique<FrameChannel>(sockets[0], longest, std::move(received), std::move(broken));
    channel->stop_ = stop[1];
    return channel;
}

FrameChannel::FrameChannel(int socket, uint32_t longest, Received received, std::function<void()> broken)
    : socket_(socket), received_(std::move(received)), broken_(std::move(broken)), reader_(longest) {
    watch();
}

FrameChannel::~FrameChannel() {
    g_source_destroy(source_);
    g_source_unref(source_);
    if (stop_ >= 0)
        close(stop_);
    close(socket_);
}

void FrameChannel::send(int32_t id, std::string_view data) {
    const bool idle = unsent_.empty();
    appendFrame(unsent_, id, data);
    // An error shows when the socket is read.
    if (idle && write() && !unsent_.empty())
        watch();
}

bool FrameChannel::flush(std::chrono::milliseconds longest) {
    const auto end = std::chrono::steady_clock::now() + longest;
    while (write() && !unsent_.empty()) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        pollfd room{socket_, POLLOUT, 0};
        if (left.count() <= 0 || poll(&room, 1, static_cast<int>(left.count())) == 0)
            return false;
    }
    return unsent_.empty();
}

// A source for what is awaited now: messages always, room for more only while something is unsent.
void FrameChannel::watch() {
    if (source_) {
        g_source_destroy(source_);
        g_source_unref(source_);
    }
    source_ = g_unix_fd_source_new(socket_,
                                   unsent_.empty() ? G_IO_IN : static_cast<GIOCondition>(G_IO_IN | G_IO_OUT));
    const GUnixFDSourceFunc ready = [](gint, GIOCondition condition, gpointer self) -> gboolean {
        static_cast<FrameChannel*>(self)->serve((condition & ~G_IO_OUT) != 0);
        return G_SOURCE_CONTINUE;
    };
    g_source_set_callback(source_, reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(ready)), this,
                          nullptr);
    // What is told of a message may wait for the next one.
    g_source_set_can_recurse(source_, TRUE);
    g_source_attach(source_, RunLoop::main().context());
}

void FrameChannel::serve(bool readable) {
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

bool FrameChannel::write() {
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

bool FrameChannel::read() {
    const auto room = reader_.room(kPiece);
    const ssize_t count = recv(socket_, room.data(), room.size(), MSG_DONTWAIT);
    if (count > 0)
        reader_.push(static_cast<size_t>(count));
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

}  // namespace platform
