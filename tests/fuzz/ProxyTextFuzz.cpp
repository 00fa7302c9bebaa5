#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include "platform/ProxySettings.h"

namespace {

std::string folderForSettings() {
    static char folder[] = "/tmp/proxy-fuzz-XXXXXX";
    const char* const made = mkdtemp(folder);
    if (!made)
        std::abort();
    setenv("XDG_CONFIG_HOME", made, 1);
    setenv("XDG_CURRENT_DESKTOP", "KDE", 1);
    setenv("GSETTINGS_BACKEND", "memory", 1);
    return made;
}

}  // namespace

// The first byte says whether the rest is KDE's file or what stands in the environment.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    static const std::string folder = folderForSettings();
    if (length < 1)
        return 0;
    const std::string text(reinterpret_cast<const char*>(bytes) + 1, length - 1);
    const bool inFile = bytes[0] % 2 == 0;
    std::ofstream(folder + "/kioslaverc") << (inFile ? text : "");
    setenv("http_proxy", inFile ? "" : text.c_str(), 1);
    setenv("no_proxy", inFile ? "" : text.c_str(), 1);
    if (const auto settings = platform::copySystemProxySettings()) {
        for (const auto& proxy : {settings->http, settings->https}) {
            if (proxy.port < 0 || proxy.port > 65535 || (proxy.enabled && proxy.host.empty()))
                std::abort();
        }
        platform::isProxyException(*settings, text, 80);
    }
    return 0;
}
