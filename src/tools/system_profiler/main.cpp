#include <cstdio>
#include <string>

#include "tools/system_profiler/SystemProfile.h"

namespace {

constexpr char kHelp[] =
    "usage: system_profiler -xml [-detailLevel mini | basic | full]\n"
    "Prints what this machine is made of and runs, as an XML property list. It tells no serial numbers,\n"
    "unique identifiers, network addresses or credentials. mini leaves out the network and the session;\n"
    "full, which is the default, adds the installed packages.\n";
constexpr int kBadUsage = 2;

int badUsage(const std::string& fault) {
    std::fprintf(stderr, "system_profiler: %s\n%s", fault.c_str(), kHelp);
    return kBadUsage;
}

}  // namespace

int main(int argc, char** argv) {
    bool xml = false;
    auto level = tools::DetailLevel::full;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--help" || argument == "-h") {
            std::fputs(kHelp, stdout);
            return 0;
        }
        if (argument == "-xml") {
            xml = true;
        } else if (argument == "-detailLevel") {
            const std::string word = ++i < argc ? argv[i] : "";
            const auto found = tools::detailLevelFrom(word);
            if (!found)
                return badUsage("no such level of detail: \"" + word + "\"");
            level = *found;
        } else {
            return badUsage("cannot understand \"" + argument + "\"");
        }
    }
    if (!xml)
        return badUsage("only the form of -xml can be written");
    const std::string text =
        tools::propertyListXml(tools::systemProfile(tools::Sources::ofThisSystem(), level));
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0)
        return 0;
    std::perror("system_profiler: the profile cannot be written");
    return 1;
}
