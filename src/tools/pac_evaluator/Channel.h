#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The assistant's end and this program's end speak in messages: a little-endian int32 id, a little-endian
/// uint32 length and that many bytes. Fields inside are divided by NUL bytes.
namespace channel {

enum Id : int32_t {
    // To this program.
    define = 1,    ///< object (or "" for the global one), name: a function that asks the assistant
    evaluate = 2,  ///< a source; answered with done or failed
    call = 3,      ///< name, arguments: answered with done or failed
    reply = 4,     ///< to ask: "+" and a text, or "" for null
    // From it.
    done = 11,    ///< the result as a text; "" for null and undefined
    failed = 12,  ///< what went wrong
    ask = 13,     ///< "object.name", argument
};

struct Message {
    int32_t id = 0;
    std::string data;
};

/// Waits for the next message. None at the end of the stream or behind one that is too long.
std::optional<Message> receive(int handle);

/// False when the other end has gone.
bool send(int handle, Id id, std::string_view data);

}  // namespace channel
