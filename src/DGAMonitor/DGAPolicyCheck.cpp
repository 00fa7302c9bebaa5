#include "DGAMonitor/DGAPolicyCheck.h"

#include <cstdio>
#include <cstdlib>

#include "DGAMonitor/Session/DGAPolicy.h"

int dgaCheckPolicy(const char* file) {
    using platform::AdministratorFile;
    const std::string path = file ? file : DGAPolicy::currentFile();
    const auto read = AdministratorFile::read(
        path, file ? AdministratorFile::Trust::anybody : AdministratorFile::Trust::rootOnly);
    const DGAPolicy policy(read);
    const bool isMissing = read.state == AdministratorFile::State::missing;
    std::printf("# %s%s\n", path.c_str(), isMissing ? ": there is none" : "");
    std::string group;
    for (const auto& rule : policy.rules()) {
        if (group != rule.group)
            std::printf("[%s]\n", rule.group.c_str());
        group = rule.group;
        // Hosts without a value would forbid all.
        const bool isUnset = rule.isDefault && rule.value.empty();
        std::printf("%s%s=%s\n", isUnset ? "# " : "", rule.name.c_str(), rule.value.c_str());
    }
    for (const auto& fault : policy.faults())
        std::fprintf(stderr, "%s: %s\n", path.c_str(), fault.c_str());
    if (file && isMissing)
        std::fprintf(stderr, "%s: there is no such file\n", path.c_str());
    return policy.faults().empty() && !(file && isMissing) ? EXIT_SUCCESS : EXIT_FAILURE;
}
