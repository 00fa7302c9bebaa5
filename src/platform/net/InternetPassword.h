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
/// "protocol"). Gives up after 2 seconds, and finds nothing in a keyring that is locked or absent: nobody is
/// asked to unlock it. Main thread, whose loop is served meanwhile only for the keyring's answer.
std::optional<InternetPassword> findInternetPassword(const std::string& server, uint16_t port,
                                                     const std::string& protocol);

}  // namespace platform
