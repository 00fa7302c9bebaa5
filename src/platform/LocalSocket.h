#pragma once

#include <mutex>
#include <set>
#include <string>

namespace platform {

class PrivateFolder;

/// A stream socket that listens under a name in a folder, mode 0600, non-blocking. The socket of a process
/// that no longer listens is replaced. -1, with errno, on failure. The caller closes it.
int listenIn(const PrivateFolder& folder, const std::string& name);

/// Whether the other end of a connection belongs to this user.
bool isPeerOfUser(int connection);

/// The paths of the sockets that this process has in the file system. Any thread.
class SocketPaths {
public:
    static SocketPaths& shared();

    void add(const std::string& path);
    void forget(const std::string& path);

    /// Removes the sockets' files; the sockets stay as they are.
    void removeFiles();

private:
    std::mutex mutex_;
    std::set<std::string> paths_;
};

}  // namespace platform
