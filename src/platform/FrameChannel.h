#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/FrameReader.h"

struct _GSource;  // NOLINT(bugprone-reserved-identifier): GLib's own name

namespace platform {

/// Messages over a connected stream socket, in both directions, in the frames of FrameReader. Main thread.
class FrameChannel {
public:
    using Received = std::function<void(const FrameReader::Message&)>;

    /// Takes over the socket. `received` gets its messages; `broken` is called once, when the other side has
    /// closed it or has sent what is no message or more than `longest` bytes in one. Both may destroy the
    /// channel.
    FrameChannel(int socket, uint32_t longest, Received received, std::function<void()> broken);

    /// Starts a program whose standard output is the socket to it; null if it cannot be started, which is
    /// reported. The program's group is killed when the channel ends.
    static std::unique_ptr<FrameChannel> toProgram(const std::string& program, uint32_t longest,
                                                   Received received, std::function<void()> broken);

    /// Closes the socket.
    ~FrameChannel();
    FrameChannel(const FrameChannel&) = delete;
    FrameChannel& operator=(const FrameChannel&) = delete;

    /// Queues a message and sends what the socket takes now; the rest follows as the loop is served.
    void send(int32_t id, std::string_view data);

    /// Waits until everything is sent, at most for so long; false if it was not.
    bool flush(std::chrono::milliseconds longest);

private:
    void watch();
    void serve(bool readable);
    bool write();
    bool read();

    int socket_;
    int stop_ = -1;  // closing it kills the program
    Received received_;
    std::function<void()> broken_;
    FrameReader reader_;
    std::string unsent_;
    _GSource* source_ = nullptr;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

}  // namespace platform
