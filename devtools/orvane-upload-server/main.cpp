#include <cstdio>
#include <exception>

#include "Options.h"
#include "Server.h"

int main(int argc, char** argv) try {
    using namespace uploadserver;
    Options options;
    if (const auto status = readOptions(options, argc, argv))
        return *status;
    return serve(options);
} catch (const std::exception& error) {
    std::fprintf(stderr, "orvane-upload-server: %s\n", error.what());
    return 1;
}
