#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// Cuts a stream of bytes into messages: a little-endian int32 id, a little-endian uint32 length and that
/// many bytes each.
class FrameReader {
public:
    struct Message {
        int32_t id = 0;
        std::string_view data;
    };

    /// What stands at the front of the stream: part of a message, a whole one, or one that announces
    /// more bytes than are allowed, behind which nothing can be read.
    enum class Front : uint8_t { part, message, tooLong };

    explicit FrameReader(uint32_t maxLength) : maxLength_(maxLength) {}

    /// Room for `length` more bytes of the stream. Ends the life of what takeMessage() returned.
    std::span<char> room(size_t length);

    /// Appends the first `count` bytes of the room.
    void push(size_t count) { end_ += count; }

    Front front() const;

    /// The length that the front message announces; unless there is less than its header, in which case 0.
    uint32_t frontLength() const;

    /// Removes the front message. Only when front() is a message.
    Message takeMessage();

    /// Gives back the memory of a long message that was taken. Ends the life of what takeMessage() returned.
    void trim();

    /// Whether everything was taken.
    bool isEmpty() const { return begin_ == end_; }

private:
    std::vector<char> bytes_;
    size_t begin_ = 0;
    size_t end_ = 0;
    uint32_t maxLength_;
};

/// Appends a message of that form.
void appendFrame(std::string& bytes, int32_t id, std::string_view data);

}  // namespace platform
