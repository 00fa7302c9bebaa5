#include "platform/MessagePort.h"

#include <glib-unix.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <list>
#include <new>
#include <utility>
#include <vector>

#include "platform/FrameReader.h"
#include "platform/LocalSocket.h"
#include "platform/Report.h"
#include "platform/RunLoop.h"
#include "platform/RuntimeFolder.h"

namespace platform {
namespace {

constexpr size_t kReadLength = 65536;
constexpr int kMostEvents = 64;
constexpr gint64 kBusyMicroseconds = 4000;
constexpr gint64 kLateMicroseconds = 1000000;
constexpr guint kAcceptPauseMilliseconds = 500;

}  // namespace

struct MessagePort::State {
    struct Connection {
        int handle = -1;
        FrameReader received{kMaxMessageLength};
        gint64 began = 0;     // when the first byte of the message came that is not whole yet; else 0
        size_t reserved = 0;  // its share of what long messages may hold
        bool queued = false;  // among those with whole messages
        bool parked = false;  // unread until there is room for its message
        bool ended = false;
        bool informed = false;
    };

    MessagePort* port = nullptr;
    std::string name;
    RuntimeFolder runtime;
    std::string path;
    Callback callback;
    Limits limits;
    int listener = -1;
    int poller = -1;  // epoll(7): one turn of the loop serves all peers, however many, for a few milliseconds
    GMainContext* context = nullptr;
    GSource* readable = nullptr;
    GSource* more = nullptr;
    GSource* deadline = nullptr;
    GSource* acceptAgain = nullptr;
    gint64 deadlineAt = 0;
    bool held = false;
    bool accepting = false;
    size_t reserved = 0;
    std::list<Connection> connections;
    std::deque<Connection*> withMessages;
    Connection* speaking = nullptr;  // whose message is being delivered
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);

    explicit State(RuntimeFolder folder) : runtime(std::move(folder)) {}

    template <typename Function>
    GSource* attach(GSource* source, Function function) {
        g_source_set_callback(source, G_SOURCE_FUNC(function), this, nullptr);
        g_source_attach(source, context);
        return source;
    }

    static void drop(GSource*& source) {
        if (!source)
            return;
        g_source_destroy(source);
        g_source_unref(source);
        source = nullptr;
    }

    void watch(int handle, Connection* peer) const {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.ptr = peer;
        epoll_ctl(poller, EPOLL_CTL_ADD, handle, &event);
    }
    void ignore(int handle) const { epoll_ctl(poller, EPOLL_CTL_DEL, handle, nullptr); }

    void setAccepting(bool accept) {
        if (accept == accepting)
            return;
        accepting = accept;
        if (accept)
            watch(listener, nullptr);
        else
            ignore(listener);
    }

    void goOn() {
        if (held || !context)
            return;
        if (!readable)
            readable = attach(g_unix_fd_source_new(poller, G_IO_IN), &State::onReadable);
        if (!more && !withMessages.empty()) {
            more = g_idle_source_new();
            g_source_set_priority(more, G_PRIORITY_DEFAULT);
            attach(more, &State::onMore);
        }
    }

    static gboolean onReadable(gint /*handle*/, GIOCondition /*condition*/, gpointer data) {
        static_cast<State*>(data)->serve();
        return G_SOURCE_CONTINUE;
    }
    static gboolean onMore(gpointer data) {
        auto* self = static_cast<State*>(data);
        drop(self->more);
        self->serve();
        return G_SOURCE_REMOVE;
    }

    // One turn: first what has been read, then what there is to read, for a few milliseconds in all.
    void serve() {
        const gint64 enough = g_get_monotonic_time() + kBusyMicroseconds;
        const std::weak_ptr<bool> stillAlive = alive;
        for (size_t left = withMessages.size(); left > 0 && !held; --left) {
            Connection* const peer = withMessages.front();
            withMessages.pop_front();
            peer->queued = false;
            handleMessagesOf(*peer, enough);
            if (stillAlive.expired() || listener < 0)
                return;
        }
        epoll_event events[kMostEvents];
        const int count = held ? 0 : epoll_wait(poller, events, kMostEvents, 0);
        for (int i = 0; i < count && !held && g_get_monotonic_time() <= enough; ++i) {
            auto* const peer = static_cast<Connection*>(events[i].data.ptr);
            if (!peer)
                acceptAll();
            else if (!peer->queued)
                readFrom(*peer, enough);
            if (stillAlive.expired() || listener < 0)
                return;
        }
        goOn();
    }

    void acceptAll() {
        while (connections.size() < limits.connections) {
            const int handle = accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (handle < 0) {
                if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS)
                    pauseAccepting();
                return;
            }
            if (!isPeerOfUser(handle)) {
                reportWarning("a peer of another user was refused at " + path);
                close(handle);
                continue;
            }
            Connection& peer = connections.emplace_back();
            peer.handle = handle;
            watch(handle, &peer);
        }
        reportWarning(std::to_string(connections.size()) + " peers are connected at " + path +
                      ", further ones have to wait");
        setAccepting(false);
    }

    // The waiting connection keeps the listener readable: without a pause the loop would spin.
    void pauseAccepting() {
        reportWarning("a connection at " + path + " has to wait: " + std::strerror(errno));
        setAccepting(false);
        drop(acceptAgain);
        acceptAgain = attach(g_timeout_source_new(kAcceptPauseMilliseconds), &State::onAcceptAgain);
    }

    static gboolean onAcceptAgain(gpointer data) {
        auto* self = static_cast<State*>(data);
        drop(self->acceptAgain);
        self->setAccepting(true);
        return G_SOURCE_REMOVE;
    }

    void readFrom(Connection& peer, gint64 enough) {
        std::span<char> room;
        try {
            room = peer.received.room(kReadLength);
        } catch (const std::bad_alloc&) {
            reportWarning("a message at " + path + " was lost with its peer: there is no memory for it");
            disconnect(peer);
            return;
        }
        const ssize_t count = read(peer.handle, room.data(), room.size());
        if (count < 0 && (errno == EAGAIN || errno == EINTR))
            return;
        if (count > 0)
            peer.received.push(static_cast<size_t>(count));
        peer.ended = count <= 0;
        handleMessagesOf(peer, enough);
    }

    // Handles what has been read as long as there is time; the rest follows in a later turn of the loop,
    // and nothing more is read from this peer until then.
    void handleMessagesOf(Connection& peer, gint64 enough) {
        const std::weak_ptr<bool> stillAlive = alive;
        for (auto front = peer.received.front(); front != FrameReader::Front::part;
             front = peer.received.front()) {
            if (front == FrameReader::Front::tooLong) {
                reportWarning("a message of " + std::to_string(peer.received.frontLength()) +
                              " bytes is too long, its peer at " + path + " is disconnected");
                disconnect(peer);
                return;
            }
            if (held || g_get_monotonic_time() > enough) {
                peer.queued = true;
                withMessages.push_back(&peer);
                return;
            }
            peer.began = 0;
            speaking = &peer;
            deliver(peer.received.takeMessage());
            if (stillAlive.expired() || listener < 0)
                return;
            speaking = nullptr;
        }
        peer.received.trim();
        if (!peer.ended) {
            awaitRestOf(peer);
            return;
        }
        if (!peer.received.isEmpty())
            reportWarning("a peer at " + path + " left in the middle of a message");
        disconnect(peer);
    }

    void deliver(const FrameReader::Message& message) {
        try {
            callback(*port, message.id, message.data.empty() ? std::nullopt : std::optional(message.data));
        } catch (const std::bad_alloc&) {
            reportWarning("a message of " + std::to_string(message.data.size()) + " bytes at " + path +
                          " was lost: there is no memory for it");
        }
    }

    // A part of a frame would make nonsense of all that follow.
    static void tell(Connection& peer, int32_t messageID, std::string_view data) {
        std::string frame;
        appendFrame(frame, messageID, data);
        peer.informed =
            send(peer.handle, frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL) == std::ssize(frame);
    }

    // A long message is read on only when all of it has room, so that those that were begun can end.
    void awaitRestOf(Connection& peer) {
        const size_t length = peer.received.isEmpty() ? 0 : peer.received.frontLength();
        const size_t wanted = length > kReadLength ? length : 0;
        if (peer.reserved > 0 && wanted != peer.reserved)
            release(peer);
        if (wanted > 0 && peer.reserved == 0 && reserved + wanted > limits.unfinishedBytes) {
            peer.parked = true;
            peer.began = 0;
            ignore(peer.handle);
            return;
        }
        reserved += wanted - peer.reserved;
        peer.reserved = wanted;
        if (peer.received.isEmpty() || peer.began != 0)
            return;
        peer.began = g_get_monotonic_time();
        awaitDeadline();
    }

    // Gives back a peer's share; those that waited for one try again.
    void release(Connection& peer) {
        reserved -= std::exchange(peer.reserved, 0);
        for (Connection& other : connections) {
            if (!other.parked || &other == &peer)
                continue;
            other.parked = false;
            watch(other.handle, &other);
            awaitRestOf(other);
        }
    }

    gint64 deadlineOf(const Connection& peer) const {
        return peer.began + std::chrono::microseconds(limits.messageTime).count();
    }

    void awaitDeadline() {
        gint64 first = 0;
        for (const Connection& peer : connections) {
            if (peer.began != 0 && (first == 0 || deadlineOf(peer) < first))
                first = deadlineOf(peer);
        }
        if (first == 0 || (deadline && deadlineAt <= first))
            return;
        drop(deadline);
        deadlineAt = first;
        const gint64 rest = std::max<gint64>(0, first - g_get_monotonic_time()) / 1000 + 1;
        deadline = attach(g_timeout_source_new(static_cast<guint>(rest)), &State::onDeadline);
    }

    static gboolean onDeadline(gpointer data) {
        auto* self = static_cast<State*>(data);
        drop(self->deadline);
        const gint64 now = g_get_monotonic_time();
        // It was this process that had no time: the rest may be there, unread.
        const bool late = self->held || now > self->deadlineAt + kLateMicroseconds;
        std::vector<Connection*> expired;
        for (Connection& peer : self->connections) {
            if (peer.began != 0 && late)
                peer.began = now;
            else if (peer.began != 0 && self->deadlineOf(peer) <= now)
                expired.push_back(&peer);
        }
        for (Connection* const peer : expired) {
            reportWarning("a message at " + self->path +
                          " was not sent to its end, its peer is disconnected");
            self->disconnect(*peer);
        }
        self->awaitDeadline();
        return G_SOURCE_REMOVE;
    }

    void disconnect(Connection& peer) {
        std::erase(withMessages, &peer);
        // Closing alone would not do while a process that is being started still has the handle, too.
        ignore(peer.handle);
        close(peer.handle);
        peer.began = 0;
        peer.parked = false;
        if (peer.reserved > 0)
            release(peer);
        connections.remove_if([&](const Connection& other) { return &other == &peer; });
        if (!acceptAgain)
            setAccepting(true);
    }

    void setHeld(bool hold) {
        if (held == hold || listener < 0)
            return;
        held = hold;
        if (held) {
            drop(readable);
            drop(more);
        } else {
            goOn();
        }
    }

    void closeAll() {
        for (const Connection& peer : connections)
            close(peer.handle);
        connections.clear();
        withMessages.clear();
        speaking = nullptr;
        for (GSource** source : {&readable, &more, &deadline, &acceptAgain})
            drop(*source);
        if (listener >= 0) {
            close(listener);
            close(poller);
            runtime.folder.remove(name);
            SocketPaths::shared().forget(path);
        }
        listener = -1;
    }
};

MessagePort::MessagePort(std::unique_ptr<State> state) : state_(std::move(state)) {
    state_->port = this;
}

std::unique_ptr<MessagePort> MessagePort::createLocal(const std::string& name, Callback callback) {
    return createLocal(name, std::move(callback), Limits());
}

std::unique_ptr<MessagePort> MessagePort::createLocal(const std::string& name, Callback callback,
                                                      const Limits& limits) {
    auto runtime = openRuntimeFolder();
    if (!runtime)
        return nullptr;
    const int listener = listenIn(runtime->folder, name);
    const int poller = listener < 0 ? -1 : epoll_create1(EPOLL_CLOEXEC);
    if (poller < 0) {
        const int why = errno;
        if (listener >= 0) {
            runtime->folder.remove(name);
            close(listener);
        }
        errno = why;
        reportWarning("the port " + runtime->path + "/" + name +
                      " cannot be opened: " + std::strerror(errno));
        return nullptr;
    }
    auto state = std::make_unique<State>(std::move(*runtime));
    state->name = name;
    state->path = state->runtime.path + "/" + name;
    state->callback = std::move(callback);
    state->limits = limits;
    state->listener = listener;
    state->poller = poller;
    SocketPaths::shared().add(state->path);
    return std::unique_ptr<MessagePort>(new MessagePort(std::move(state)));
}

MessagePort::~MessagePort() {
    invalidate();
}

void MessagePort::schedule(RunLoop& loop) {
    state_->context = loop.context();
    state_->setAccepting(true);
    state_->goOn();
}

void MessagePort::setHeld(bool held) {
    state_->setHeld(held);
}

void MessagePort::keepInformed(int32_t messageID, std::string_view data) {
    if (state_->speaking && !state_->speaking->informed)
        State::tell(*state_->speaking, messageID, data);
}

void MessagePort::tell(int32_t messageID, std::string_view data) {
    for (auto& peer : state_->connections) {
        if (peer.informed)
            State::tell(peer, messageID, data);
    }
}

void MessagePort::invalidate() {
    state_->closeAll();
}

void MessagePort::removeSockets() {
    SocketPaths::shared().removeFiles();
}

const std::string& MessagePort::path() const {
    return state_->path;
}

}  // namespace platform
