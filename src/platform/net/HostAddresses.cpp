#include "platform/net/HostAddresses.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>

namespace platform {
namespace {

constexpr size_t kLongestName = 255;

std::string textOf(const sockaddr* address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void* bytes = nullptr;
    if (address && address->sa_family == AF_INET)
        bytes = &reinterpret_cast<const sockaddr_in*>(address)->sin_addr;
    else if (address && address->sa_family == AF_INET6)
        bytes = &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
    if (!bytes || !inet_ntop(address->sa_family, bytes, text.data(), text.size()))
        return {};
    return text.data();
}

// Connecting a datagram socket sends nothing; the kernel chooses the address that it would send from. The
// target is of a network for documentation (RFC 5737).
std::string addressOfDefaultRoute() {
    const int handle = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (handle < 0)
        return {};
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(53);
    inet_pton(AF_INET, "192.0.2.1", &address.sin_addr);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof(address);
    std::string text;
    if (connect(handle, generic, length) == 0 && getsockname(handle, generic, &length) == 0)
        text = textOf(generic);
    close(handle);
    return text;
}

void append(std::vector<std::string>& list, const std::string& text) {
    if (!text.empty() && std::find(list.begin(), list.end(), text) == list.end())
        list.push_back(text);
}

}  // namespace

std::vector<std::string> addressesOfHost(const std::string& name) {
    if (name.empty() || name.size() > kLongestName || name.find('\0') != std::string::npos)
        return {};
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_ADDRCONFIG;
    addrinfo* found = nullptr;
    if (getaddrinfo(name.c_str(), nullptr, &hints, &found) != 0)
        return {};
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
    std::vector<std::string> addresses;
    for (const addrinfo* at = found; at; at = at->ai_next)
        append(addresses, textOf(at->ai_addr));
    return addresses;
}

std::vector<std::string> addressesOfThisHost() {
    std::vector<std::string> addresses;
    append(addresses, addressOfDefaultRoute());
    ifaddrs* found = nullptr;
    if (getifaddrs(&found) != 0)
        return addresses;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(found, &freeifaddrs);
    for (const unsigned loopback : {0U, static_cast<unsigned>(IFF_LOOPBACK)}) {
        for (const int family : {AF_INET, AF_INET6}) {
            for (const ifaddrs* at = found; at; at = at->ifa_next) {
                const bool wanted = at->ifa_addr && at->ifa_addr->sa_family == family &&
                                    (at->ifa_flags & IFF_UP) != 0 &&
                                    (at->ifa_flags & IFF_LOOPBACK) == loopback;
                if (wanted)
                    append(addresses, textOf(at->ifa_addr));
            }
        }
    }
    return addresses;
}

}  // namespace platform
