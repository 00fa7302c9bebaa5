#include <fmt/format.h>

#include <cstdio>

#include "Options.h"
#include "Run.h"
#include "Scenario.h"

namespace {

constexpr int kBadUsage = 2;

}  // namespace

int main(int argc, char** argv) {
    using namespace clientsim;
    try {
        const Options options = parseOptions(argc, argv);
        if (options.help || options.version) {
            std::fputs(options.help ? helpText() : versionText(), stdout);
            return 0;
        }
        const std::string installed = programFolder() + "/../share/orvanedga/scenarios";
        Scenario scenario = loadScenario(findScenario(options.scenario, installed));
        setParameters(scenario, options.parameters);
        return run(scenario, options);
    } catch (const UsageError& error) {
        fmt::print(stderr, "orvane-client-sim: {}\n{}", error.what(), usageText());
    } catch (const ScenarioError& error) {
        fmt::print(stderr, "orvane-client-sim: {}\n", error.what());
    }
    return kBadUsage;
}
