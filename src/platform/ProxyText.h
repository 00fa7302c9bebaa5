#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace platform {

/// A port, 1 to 65535 in decimal digits and nothing else.
std::optional<int32_t> portNumber(std::string_view text);

struct HostAndPort {
    std::string_view host;  ///< "" if there is none; no brackets
    std::string_view port;  ///< "" if there is none; any text
};

/// Divides "host", "host:port", "host port", "[address]", "[address]:port" or a bare IPv6 address.
HostAndPort divideHostAndPort(std::string_view text);

}  // namespace platform
