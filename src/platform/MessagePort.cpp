#include "platform/MessagePort.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <list>
#include <mutex>
#include <set>
#include <utility>

#include "platform/FrameReader.h"
#include "platform/PrivateFolder.h"
#include "platform/Report.h"
#include "platform/RunLoop.h"
#include "platform/RuntimeFolder.h"

namespace platform {
namespace {

constexpr size_t kReadLength = 65536;
constexpr gint64 kBusyMicroseconds = 4000;
constexpr guint kAcceptPauseMilliseconds = 500;

// Addressed through the open folder: no one can swap a folder on the way, and the path stays short
// however long the runtime folder's own is.
sockaddr_un addressIn(const PrivateFolder& folder, const std::string& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(folder.handle()) + "/" + name;
    if (path.size() < sizeof address.sun_path)
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

int openSocket() {
    return socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
}

bool someoneListens(const sockaddr_un& address) {
    const int probe = openSocket();
    const bool listens =
        probe >= 0 &&
        (connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 || errno == EAGAIN);
    if (probe >= 0)
        close(probe);
    return listens;
}

int listenIn(const PrivateFolder& folder, const std::string& name) {
    const sockaddr_un address = addressIn(folder, name);
    const int listener = openSocket();
    if (listener < 0)
        return -1;
    const auto* plain = reinterpret_cast<const sockaddr*>(&address);
    int bound = bind(listener, plain, sizeof address);
    if (bound != 0 && errno == EADDRINUSE && !someoneListens(address)) {
        folder.remove(name);
        bound = bind(listener, plain, sizeof address);
    }
    if (bound == 0 && fchmodat(folder.handle(), name.c_str(), S_IRUSR | S_IWUSR, 0) == 0 &&
        listen(listener, SOMAXCONN) == 0)
        return listener;
    const int why = errno;
    close(listener);
    errno = why;
    return -1;
}

bool isPeerOfUser(int connection) {
    ucred peer{};
    socklen_t length = sizeof peer;
    return getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == geteuid();
}

// The paths of the sockets that this process has in the file system.
class SocketPaths {
public:
    static SocketPaths& shared() {
        static auto* const paths = new SocketPaths();
        return *paths;
    }

    void add(const std::string& path) {
        const std::lock_guard<std::mutex> hold(mutex_);
        paths_.insert(path);
    }

    void forget(const std::string& path) {
        const std::lock_guard<std::mutex> hold(mutex_);
        paths_.erase(path);
    }

    void removeFiles() {
        const std::lock_guard<std::mutex> hold(mutex_);
        for (const auto& path : paths_)
            unlink(path.c_str());
    }

private:
    std::mutex mutex_;
    std::set<std::string> paths_;
};

}  // namespace

struct MessagePort::State {
    struct Connection {
        State* owner = nullptr;
        int handle = -1;
        GSource* readable = nullptr;
        GSource* more = nullptr;
        FrameReader received{kMaxMessageLength};
        bool ended = false;
    };

    MessagePort* port = nullptr;
    std::string name;
    RuntimeFolder runtime;
    std::string path;
    Callback callback;
    int listener = -1;
    GMainContext* context = nullptr;
    GSource* acceptable = nullptr;
    std::list<Connection> connections;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);

    explicit State(RuntimeFolder folder) : runtime(std::move(folder)) {}

    template <typename Function>
    static GSource* attach(GSource* source, Function function, gpointer data, GMainContext* context) {
        g_source_set_callback(source, G_SOURCE_FUNC(function), data, nullptr);
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

    void watchListener() {
        acceptable = attach(g_unix_fd_source_new(listener, G_IO_IN), &State::onConnect, this, context);
    }

    static gboolean onConnect(gint /*handle*/, GIOCondition /*condition*/, gpointer data) {
        static_cast<State*>(data)->acceptAll();
        return G_SOURCE_CONTINUE;
    }

    static gboolean onAcceptAgain(gpointer data) {
        auto* self = static_cast<State*>(data);
        drop(self->acceptable);
        self->watchListener();
        return G_SOURCE_REMOVE;
    }

    void acceptAll() {
        for (;;) {
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
            peer.owner = this;
            peer.handle = handle;
            peer.readable = attach(g_unix_fd_source_new(handle, G_IO_IN), &State::onReadable, &peer, context);
        }
    }

    // The waiting connection keeps the listener readable: without a pause the loop would spin.
    void pauseAccepting() {
        reportWarning("a connection at " + path + " has to wait: " + std::strerror(errno));
        drop(acceptable);
        acceptable =
            attach(g_timeout_source_new(kAcceptPauseMilliseconds), &State::onAcceptAgain, this, context);
    }

    static gboolean onReadable(gint /*handle*/, GIOCondition /*condition*/, gpointer data) {
        auto* peer = static_cast<Connection*>(data);
        peer->owner->readFrom(*peer);
        return G_SOURCE_CONTINUE;
    }

    static gboolean onMore(gpointer data) {
        auto* peer = static_cast<Connection*>(data);
        peer->owner->handleMessagesOf(*peer);
        return G_SOURCE_CONTINUE;
    }

    void readFrom(Connection& peer) {
        const auto room = peer.received.room(kReadLength);
        const ssize_t count = read(peer.handle, room.data(), room.size());
        if (count < 0 && (errno == EAGAIN || errno == EINTR))
            return;
        if (count > 0)
            peer.received.push(static_cast<size_t>(count));
        peer.ended = count <= 0;
        handleMessagesOf(peer);
    }

    // Handles what has been read, for a few milliseconds; the rest follows in a later turn of the loop,
    // and nothing more is read until then.
    void handleMessagesOf(Connection& peer) {
        const gint64 enough = g_get_monotonic_time() + kBusyMicroseconds;
        const std::weak_ptr<bool> stillAlive = alive;
        for (auto front = peer.received.front(); front != FrameReader::Front::part;
             front = peer.received.front()) {
            if (front == FrameReader::Front::tooLong) {
                reportWarning("a message of " + std::to_string(peer.received.frontLength()) +
                              " bytes is too long, its peer at " + path + " is disconnected");
                disconnect(peer);
                return;
            }
            if (g_get_monotonic_time() > enough) {
                continueLater(peer);
                return;
            }
            const auto [id, data] = peer.received.takeMessage();
            callback(*port, id, data.empty() ? std::nullopt : std::optional(data));
            if (stillAlive.expired() || listener < 0)
                return;
        }
        if (peer.ended) {
            if (!peer.received.isEmpty())
                reportWarning("a peer at " + path + " left in the middle of a message");
            disconnect(peer);
        } else if (!peer.readable) {
            drop(peer.more);
            peer.readable =
                attach(g_unix_fd_source_new(peer.handle, G_IO_IN), &State::onReadable, &peer, context);
        }
    }

    void continueLater(Connection& peer) {
        if (peer.more)
            return;
        drop(peer.readable);
        peer.more = g_idle_source_new();
        g_source_set_priority(peer.more, G_PRIORITY_DEFAULT);
        attach(peer.more, &State::onMore, &peer, context);
    }

    static void release(Connection& peer) {
        drop(peer.readable);
        drop(peer.more);
        close(peer.handle);
    }

    void disconnect(Connection& peer) {
        release(peer);
        connections.remove_if([&](const Connection& other) { return &other == &peer; });
    }

    void closeAll() {
        for (auto& peer : connections)
            release(peer);
        connections.clear();
        drop(acceptable);
        if (listener >= 0) {
            close(listener);
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
    auto runtime = openRuntimeFolder();
    if (!runtime)
        return nullptr;
    const int listener = listenIn(runtime->folder, name);
    if (listener < 0) {
        reportWarning("the port " + runtime->path + "/" + name +
                      " cannot be opened: " + std::strerror(errno));
        return nullptr;
    }
    auto state = std::make_unique<State>(std::move(*runtime));
    state->name = name;
    state->path = state->runtime.path + "/" + name;
    state->callback = std::move(callback);
    state->listener = listener;
    SocketPaths::shared().add(state->path);
    return std::unique_ptr<MessagePort>(new MessagePort(std::move(state)));
}

MessagePort::~MessagePort() {
    invalidate();
}

void MessagePort::schedule(RunLoop& loop) {
    state_->context = loop.context();
    state_->watchListener();
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
