#include <cstdio>
#include <string>

#include "tools/sw_vers/OsRelease.h"

namespace {

constexpr char kHelp[] =
    "usage: sw_vers [-productName | -productVersion | -buildVersion]\n"
    "Prints the name, version and build of the operating system, or only one of them.\n";

}  // namespace

int main(int argc, char** argv) {
    const std::string option = argc > 1 ? argv[1] : "";
    if (argc == 2 && (option == "--help" || option == "-h")) {
        std::fputs(kHelp, stdout);
        return 0;
    }
    const tools::SystemVersion version = tools::systemVersion();
    if (argc == 1)
        std::printf("ProductName:\t%s\nProductVersion:\t%s\nBuildVersion:\t%s\n", version.productName.c_str(),
                    version.productVersion.c_str(), version.buildVersion.c_str());
    else if (argc == 2 && (option == "-productName" || option == "--productName"))
        std::puts(version.productName.c_str());
    else if (argc == 2 && (option == "-productVersion" || option == "--productVersion"))
        std::puts(version.productVersion.c_str());
    else if (argc == 2 && (option == "-buildVersion" || option == "--buildVersion"))
        std::puts(version.buildVersion.c_str());
    else {
        std::fprintf(stderr, "sw_vers: cannot understand \"%s\"\n%s", option.c_str(), kHelp);
        return 2;
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
