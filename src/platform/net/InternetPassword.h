#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace platform {

struct InternetPassword {
    std::string account;
    std::string password;
};

/// Looks up a password in the user's keyring (schema org.gnome.keyring.NetworkPassword: "server", "port",
/// "protocol"; the account is "user"). An item without a port or protocol counts for every one, after those
/// that name them. Gives up after 2 seconds, and finds nothing in a keyring that is locked or absent:
/// nobody is asked to unlock it, and no service is started. Returns at once: `found` is called once, later,
/// on the calling thread's run loop. Any thread.
void findInternetPassword(const std::string& server, uint16_t port, const std::string& protocol,
                          std::function<void(const std::optional<InternetPassword>&)> found);

}  // namespace platform
