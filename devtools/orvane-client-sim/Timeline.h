#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "Scenario.h"

namespace clientsim {

/// One thing that the simulated client does at one moment.
struct Event {
    double at = 0;
    Action action = Action::wait;
    int step = 0;
    bool first = true;  ///< false for the second and later messages of a repeating step
    std::string json;   ///< the text to send; empty for actions that carry none
};

/// Everything a scenario does, in the order of time; what happens at the same moment keeps the order of
/// the file. A "freeze" cuts off the heartbeats of the steps that began before it. `clientPid` stands in
/// for a "processID" that the parameters leave out.
std::vector<Event> timelineOf(const Scenario& scenario, pid_t clientPid);

/// Whether the assistant is expected to end by itself.
bool endsByPlan(const Scenario& scenario);

}  // namespace clientsim
