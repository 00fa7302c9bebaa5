#include "tools/pac_evaluator/Channel.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstddef>

namespace channel {
namespace {

constexpr size_t kHeaderLength = 8;
constexpr uint32_t kLongest = uint32_t{2} * 1024 * 1024;

bool receiveAll(int handle, char* bytes, size_t length) {
    while (length > 0) {
        const ssize_t count = recv(handle, bytes, length, 0);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        bytes += count;
        length -= static_cast<size_t>(count);
    }
    return true;
}

uint32_t number(const char* bytes) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

void append(std::string& bytes, uint32_t value) {
    for (int i = 0; i < 4; ++i)
        bytes += static_cast<char>(value >> (8 * i) & 0xff);
}

}  // namespace

std::optional<Message> receive(int handle) {
    std::array<char, kHeaderLength> header{};
    if (!receiveAll(handle, header.data(), header.size()))
        return std::nullopt;
    const uint32_t length = number(header.data() + 4);
    if (length > kLongest)
        return std::nullopt;
    Message message{static_cast<int32_t>(number(header.data())), std::string(length, '\0')};
    if (!receiveAll(handle, message.data.data(), length))
        return std::nullopt;
    return message;
}

bool send(int handle, Id id, std::string_view data) {
    std::string bytes;
    append(bytes, static_cast<uint32_t>(id));
    append(bytes, static_cast<uint32_t>(data.size()));
    bytes += data;
    std::string_view left = bytes;
    while (!left.empty()) {
        const ssize_t count = ::send(handle, left.data(), left.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        left.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

}  // namespace channel
