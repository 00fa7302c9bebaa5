#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace platform {
class MessagePort;
}

/// Receives the messages of the local message port, on the thread that made the listener.
class DgaIpcMessageSink {
public:
    virtual ~DgaIpcMessageSink() = default;

    /// One message's text; none if its bytes are not UTF-8.
    virtual void onMessageWithJsonData(const std::optional<std::string>& jsonData) = 0;

    /// A message's id and text, none for an empty one, before the above is called for it. True when the id
    /// told that it is something else than meeting data, and it was taken as such.
    virtual bool onNotification(int32_t messageID, const std::optional<std::string>& text);
};

/// Opens the local message port over which the client sends its meeting data, and hands every message
/// to a sink. There is at most one port in a process. Lives on one thread, whose run loop serves the port.
class DgaIpcMessageListener {
public:
    DgaIpcMessageListener();

    /// Closes the port.
    ~DgaIpcMessageListener();
    DgaIpcMessageListener(const DgaIpcMessageListener&) = delete;
    DgaIpcMessageListener& operator=(const DgaIpcMessageListener&) = delete;

    /// Opens the port for `messageSink`, which must outlive the listener. If another listener exists,
    /// says so on standard error and opens nothing.
    void initWithJsonMessageSink(DgaIpcMessageSink* messageSink);

    /// "com.tellan.orvane.orvanedga.<process id>".
    static std::string getMessagePortName();

    void handlePortMessage(const std::optional<std::string>& message);

    /// While it is held the port takes nothing: its clients wait, and nothing is lost.
    void setHeld(bool held);

    /// What a client is told over the port with its first notification there; see tell().
    void setGreeting(int32_t messageID, std::string text);

    /// Tells all clients that send notifications over the port; nothing while the port is not open.
    void tell(int32_t messageID, const std::string& text);

    /// Whether the port is open.
    bool isListening() const { return portRef_ != nullptr; }

private:
    void createListenerPort();
    static void messagePortCallBack(platform::MessagePort& port, int32_t messageID,
                                    std::optional<std::string_view> data);

    DgaIpcMessageSink* messageSink_ = nullptr;
    std::unique_ptr<platform::MessagePort> portRef_;
    int32_t greetingID_ = 0;
    std::string greeting_;
};
