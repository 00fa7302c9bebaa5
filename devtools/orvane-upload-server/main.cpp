#include "Options.h"
#include "Server.h"

int main(int argc, char** argv) {
    using namespace uploadserver;
    Options options;
    if (const auto status = readOptions(options, argc, argv))
        return *status;
    return serve(options);
}
