#include "platform/ProxySettings.h"

namespace platform {

std::optional<ProxySettings> copySystemProxySettings() {
    return std::nullopt;
}

bool isProxyException(const ProxySettings& /*settings*/, std::string_view /*host*/, int32_t /*port*/) {
    return false;
}

}  // namespace platform
