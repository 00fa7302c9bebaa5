#include <cstdint>
#include <cstdlib>
#include <string>

#include "DGAUpload/logic/webaccess/PacParser.h"
#include "platform/net/PacEvaluator.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    const std::string text(reinterpret_cast<const char*>(bytes), length);
    const std::string whole = text.c_str();
    // No entry comes from nothing, and no host holds what divides entries.
    for (const auto& proxy : CPacParser::sharedInstance()->ParseProxy(whole.c_str())) {
        if (proxy.host.find(';') != std::string::npos || whole.find(proxy.host) == std::string::npos)
            std::abort();
    }
    for (const auto& proxy : platform::PacEvaluator::parse(text)) {
        if (proxy.port && (*proxy.port < 1 || *proxy.port > 65535))
            std::abort();
        if (proxy.host && (proxy.host->empty() || proxy.host->find(';') != std::string::npos))
            std::abort();
    }
    return 0;
}
