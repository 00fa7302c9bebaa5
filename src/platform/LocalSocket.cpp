#include "platform/LocalSocket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/PrivateFolder.h"

namespace platform {
namespace {

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

}  // namespace

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

SocketPaths& SocketPaths::shared() {
    static auto* const paths = new SocketPaths();
    return *paths;
}

void SocketPaths::add(const std::string& path) {
    const std::lock_guard<std::mutex> hold(mutex_);
    paths_.insert(path);
}

void SocketPaths::forget(const std::string& path) {
    const std::lock_guard<std::mutex> hold(mutex_);
    paths_.erase(path);
}

void SocketPaths::removeFiles() {
    const std::lock_guard<std::mutex> hold(mutex_);
    for (const auto& path : paths_)
        unlink(path.c_str());
}

}  // namespace platform
