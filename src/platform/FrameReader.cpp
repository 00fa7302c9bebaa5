#include "platform/FrameReader.h"

#include <algorithm>

namespace platform {
namespace {

constexpr size_t kHeaderLength = 8;
constexpr size_t kKeptLength = size_t{128} * 1024;

uint32_t littleEndian32(const char* bytes) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

}  // namespace

void appendFrame(std::string& bytes, int32_t id, std::string_view data) {
    for (const uint32_t number : {static_cast<uint32_t>(id), static_cast<uint32_t>(data.size())}) {
        for (int i = 0; i < 4; ++i)
            bytes += static_cast<char>(number >> 8 * i & 0xFF);
    }
    bytes += data;
}

std::span<char> FrameReader::room(size_t length) {
    if (begin_ > 0) {
        std::copy(bytes_.data() + begin_, bytes_.data() + end_, bytes_.data());
        end_ -= begin_;
        begin_ = 0;
    }
    if (bytes_.capacity() < end_ + length) {
        // All that the front message needs at once, instead of doubling up to it.
        const size_t message = front() == Front::part ? kHeaderLength + frontLength() : 0;
        bytes_.reserve(std::max(end_ + length, message + length));
    }
    if (bytes_.size() < end_ + length)
        bytes_.resize(end_ + length);
    return {bytes_.data() + end_, length};
}

void FrameReader::trim() {
    const size_t held = end_ - begin_;
    if (bytes_.capacity() <= kKeptLength || held > kKeptLength / 2)
        return;
    bytes_ = std::vector<char>(bytes_.data() + begin_, bytes_.data() + end_);
    begin_ = 0;
    end_ = held;
}

uint32_t FrameReader::frontLength() const {
    return end_ - begin_ < kHeaderLength ? 0 : littleEndian32(bytes_.data() + begin_ + 4);
}

FrameReader::Front FrameReader::front() const {
    const uint32_t length = frontLength();
    if (length > maxLength_)
        return Front::tooLong;
    return end_ - begin_ < kHeaderLength + length ? Front::part : Front::message;
}

FrameReader::Message FrameReader::takeMessage() {
    const char* const start = bytes_.data() + begin_;
    const Message message{static_cast<int32_t>(littleEndian32(start)),
                          {start + kHeaderLength, frontLength()}};
    begin_ += kHeaderLength + message.data.size();
    return message;
}

}  // namespace platform
