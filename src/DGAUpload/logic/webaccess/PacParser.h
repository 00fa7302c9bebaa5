#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A proxy that an auto-configuration script named.
struct PacProxy {
    std::string host;
    int32_t port = 0;
};

class CPacParser {
public:
    static CPacParser* sharedInstance();
    static bool IsPacEnabled();
    std::vector<PacProxy> FindProxy(const char* url);
};
