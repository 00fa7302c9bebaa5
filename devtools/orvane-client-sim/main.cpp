#include <cstdio>
#include <exception>

#include "Options.h"
#include "Run.h"
#include "Scenario.h"

namespace {

constexpr int kBadUsage = 2;

}  // namespace

int main(int argc, char** argv) {
    using namespace clientsim;
    try {
        Options options;
        if (const auto status = readOptions(options, argc, argv))
            return *status;
        const std::string installed = programFolder() + "/../share/orvanedga/scenarios";
        Scenario scenario = loadScenario(findScenario(options.scenario, installed));
        setParameters(scenario, options.parameters);
        return run(scenario, options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvane-client-sim: %s\n", error.what());
    }
    return kBadUsage;
}
