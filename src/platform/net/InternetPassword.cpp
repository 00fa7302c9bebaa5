#include "platform/net/InternetPassword.h"

namespace platform {

std::optional<InternetPassword> findInternetPassword(const std::string& /*server*/, uint16_t /*port*/,
                                                     const std::string& /*protocol*/) {
    return std::nullopt;
}

}  // namespace platform
