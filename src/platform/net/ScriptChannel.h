#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/FrameReader.h"

struct _GSource;  // NOLINT(bugprone-reserved-identifier): GLib's own name

namespace platform {

/// A running script program and the socket to it. Main thread only.
class ScriptChannel {
public:
    using Received = std::function<void(const FrameReader::Message&)>;

    /// Starts the program; none if it cannot be started. `received` gets its messages; `broken` is called
    /// once when it has ended or sends what is no message. Both may destroy the channel.
    static std::unique_ptr<ScriptChannel> start(const std::string& program, Received received,
                                                std::function<void()> broken);

    /// Kills the program.
    ~ScriptChannel();
    ScriptChannel(const ScriptChannel&) = delete;
    ScriptChannel& operator=(const ScriptChannel&) = delete;

    void send(int32_t id, std::string_view data);

private:
    ScriptChannel(int socket, int stop, Received received, std::function<void()> broken);
    void watch();
    void serve(bool readable);
    bool write();
    bool read();

    int socket_;
    int stop_;  // closing it kills the program
    Received received_;
    std::function<void()> broken_;
    FrameReader reader_;
    std::string unsent_;
    _GSource* source_ = nullptr;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

}  // namespace platform
