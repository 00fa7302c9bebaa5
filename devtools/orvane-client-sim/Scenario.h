#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace clientsim {

/// What a step of a scenario does.
enum class Action {
    parameters,
    heartbeat,
    heartbeats,
    meetingData,
    report,
    reportAndExit,
    quit,
    freeze,
    crash,
    wait,
    exit,
};

/// The action's name in a scenario file.
std::string_view nameOf(Action action);

/// One step, as it stands in the file. Times are seconds after the assistant was ready.
struct Step {
    int number = 0;  ///< place in the file, from 1
    Action action = Action::wait;
    double at = 0;
    double every = 0;  ///< distance of repeated messages; 0 for a single one
    double until = 0;  ///< last moment of repeated messages
    std::optional<nlohmann::json> with;
    std::vector<nlohmann::json> changes;
};

struct Scenario {
    std::string description;
    std::vector<Step> steps;  ///< in the order of the file
};

/// A scenario that cannot be used. what() is one line for the user: where, what was expected, what was
/// found.
class ScenarioError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads a scenario from its text. `source` names it in errors.
/// Throws ScenarioError.
Scenario parseScenario(const std::string& text, const std::string& source);

/// Puts the members of an object into the parameters of each step that sends some.
void setParameters(Scenario& scenario, const nlohmann::json& members);

/// Reads a scenario file. Throws ScenarioError.
Scenario loadScenario(const std::string& path);

}  // namespace clientsim
