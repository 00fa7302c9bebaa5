#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

class RunLoop;

/// A named local message port: the stream socket <name> of mode 0600 in the user's runtime folder
/// ($XDG_RUNTIME_DIR, else /run/user/<uid>, else the folder /tmp/com.tellan.orvane.<uid> of mode 0700).
///
/// A message is a little-endian int32 id, a little-endian uint32 length and that many bytes. Many peers may
/// be connected, further ones wait; the messages of one peer arrive in order; only peers that are kept
/// informed are ever told anything, in frames of the same form. Peers of
/// another user are refused; a peer that announces more than 1 MiB, or lets a message wait for its end, is
/// disconnected; all that is reported. What is held of unfinished messages is bounded: peers beyond that wait
/// unread, and their time with them. A message for which there is no memory is lost, with a report.
/// Used on one thread, that of the loop it is scheduled on.
class MessagePort {
public:
    /// `data` is the message's bytes, valid during the call; none for a message of length 0.
    using Callback =
        std::function<void(MessagePort& port, int32_t messageID, std::optional<std::string_view> data)>;

    static constexpr uint32_t kMaxMessageLength = 1024 * 1024;

    struct Limits {
        size_t connections = 64;
        std::chrono::milliseconds messageTime{10000};             ///< from a message's first byte to its last
        size_t unfinishedBytes = size_t{16} * kMaxMessageLength;  ///< of long messages of all peers together
    };

    /// Opens the port. The socket of a process that no longer listens is replaced. Null, with a report,
    /// when another process listens under that name or the runtime folder cannot be used.
    static std::unique_ptr<MessagePort> createLocal(const std::string& name, Callback callback);
    static std::unique_ptr<MessagePort> createLocal(const std::string& name, Callback callback,
                                                    const Limits& limits);

    /// As invalidate().
    ~MessagePort();
    MessagePort(const MessagePort&) = delete;
    MessagePort& operator=(const MessagePort&) = delete;

    /// Delivers messages on that loop from now on; once. While messages pour in, the loop is given back
    /// after a few milliseconds each time, so that its other sources are served.
    void schedule(RunLoop& loop);

    /// While it is held the port reads and delivers nothing, so that its peers wait; nothing is lost. Also
    /// from inside the callback.
    void setHeld(bool held);

    /// From inside the callback: the peer of this message hears what tell() says from now on, and this as the
    /// first; nothing if it does already.
    void keepInformed(int32_t messageID, std::string_view data);

    /// Sends a short message to all peers that are kept informed. One that does not read, so that its socket
    /// is full, hears nothing any more.
    void tell(int32_t messageID, std::string_view data);

    /// Closes all connections and removes the socket from the runtime folder.
    void invalidate();

    /// Removes the sockets of all open ports from their runtime folders; the ports themselves stay as they
    /// are. For the moment before the process ends without their destructors. Any thread.
    static void removeSockets();

    /// The socket's full path, for people.
    const std::string& path() const;

private:
    struct State;
    explicit MessagePort(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

}  // namespace platform
