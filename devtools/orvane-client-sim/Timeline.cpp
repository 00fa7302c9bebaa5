#include "Timeline.h"

#include <algorithm>

namespace clientsim {

namespace {

using nlohmann::json;

/// Half a microsecond: "until" takes part although every, added up, may miss it by a rounding error.
constexpr double kSameMoment = 5e-7;

/// The texts of a step's messages, one call each.
class Messages {
public:
    Messages(const Step& step, pid_t clientPid) : step_(step), carries_(step.with.has_value()) {
        if (!carries_) {
            return;
        }
        state_ = *step.with;
        const bool parameters = step.action == Action::parameters || step.action == Action::reportAndExit;
        if (parameters && !state_.contains("processID")) {
            state_["processID"] = clientPid;
        }
    }

    std::string next() {
        if (!carries_) {
            return {};
        }
        if (count_ > 0) {
            state_.erase("event");  // something that happened, not a state that lasts
            if (count_ <= step_.changes.size()) {
                state_.merge_patch(step_.changes[count_ - 1]);
            }
        }
        ++count_;
        return state_.dump();
    }

private:
    const Step& step_;
    bool carries_;
    json state_;
    size_t count_ = 0;
};

void appendStep(const Step& step, pid_t clientPid, std::vector<Event>& events) {
    Messages messages(step, clientPid);
    const size_t repeats =
        step.every > 0 ? static_cast<size_t>((step.until - step.at + kSameMoment) / step.every) : 0;
    for (size_t index = 0; index <= repeats; ++index) {
        Event event;
        event.at = step.at + static_cast<double>(index) * step.every;
        event.action = step.action;
        event.step = step.number;
        event.first = index == 0;
        event.json = messages.next();
        events.push_back(std::move(event));
    }
}

/// Whether a heartbeat belongs to a step that a freeze has stopped before.
bool isFrozen(const Event& event, const Scenario& scenario) {
    if (event.action != Action::heartbeats) {
        return false;
    }
    const double began = scenario.steps[static_cast<size_t>(event.step) - 1].at;
    return std::any_of(scenario.steps.begin(), scenario.steps.end(), [&](const Step& step) {
        return step.action == Action::freeze && began <= step.at && event.at >= step.at && !event.first;
    });
}

}  // namespace

std::vector<Event> timelineOf(const Scenario& scenario, pid_t clientPid) {
    std::vector<Event> events;
    for (const Step& step : scenario.steps) {
        appendStep(step, clientPid, events);
    }
    std::erase_if(events, [&](const Event& event) { return isFrozen(event, scenario); });
    std::stable_sort(events.begin(), events.end(),
                     [](const Event& left, const Event& right) { return left.at < right.at; });
    return events;
}

bool endsByPlan(const Scenario& scenario) {
    return std::any_of(scenario.steps.begin(), scenario.steps.end(), [](const Step& step) {
        return step.action == Action::quit || step.action == Action::crash ||
               step.action == Action::reportAndExit;
    });
}

}  // namespace clientsim
