#include <fmt/format.h>

#include <cstdio>

#include "Options.h"
#include "Server.h"

int main(int argc, char** argv) {
    using namespace uploadserver;
    try {
        const Options options = parseOptions(argc, argv);
        if (options.help || options.version) {
            std::fputs(options.help ? helpText() : versionText(), stdout);
            return 0;
        }
        return serve(options);
    } catch (const UsageError& error) {
        fmt::print(stderr, "orvane-upload-server: {}\n{}", error.what(), usageText());
    }
    return 2;
}
