#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

struct InternetPassword {
    std::string account;
    std::string password;
};

/// Looks up a password in the user's keyring (schema org.gnome.keyring.NetworkPassword: "server", "port",
/// "protocol"; the account is "user"). An item without a port or protocol counts for every one, after those
/// that name them. Gives up after 2 seconds, and finds nothing in a keyring that is locked or absent: nobody
/// is asked to unlock it, and no service is started. Any thread; the caller's loop is not served meanwhile.
std::optional<InternetPassword> findInternetPassword(const std::string& server, uint16_t port,
                                                     const std::string& protocol);

}  // namespace platform
