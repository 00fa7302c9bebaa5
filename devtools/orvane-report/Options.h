#pragma once

#include <optional>
#include <string>
#include <vector>

namespace orvanereport {

struct Options {
    std::vector<std::string> inputs;
    std::string output;
    std::string mapping;
    bool jsonLines = false;
    bool mask = false;
    bool open = false;
};

/// Nothing when the program is to end with `status`: after help, the version or a usage error, which were
/// shown.
std::optional<Options> parseOptions(int argc, char** argv, int& status);

}  // namespace orvanereport
