#include "Scenario.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <set>

namespace clientsim {

namespace {

using nlohmann::json;

/// No step is later than this: a day.
constexpr double kLatest = 24 * 3600;

/// No step repeats more often than this.
constexpr double kMostRepeats = 1e6;

struct ActionKeys {
    Action action;
    std::string_view name;
    std::initializer_list<std::string_view> required;
    std::initializer_list<std::string_view> optional;
};

const std::array<ActionKeys, 11> kActions{{
    {Action::parameters, "parameters", {"with"}, {}},
    {Action::heartbeat, "heartbeat", {}, {}},
    {Action::heartbeats, "heartbeats", {"every", "until"}, {}},
    {Action::meetingData, "meeting-data", {"with"}, {"every", "until", "changes"}},
    {Action::report, "report", {}, {}},
    {Action::reportAndExit, "report-and-exit", {}, {"with"}},
    {Action::quit, "quit", {}, {}},
    {Action::freeze, "freeze", {}, {}},
    {Action::crash, "crash", {}, {}},
    {Action::wait, "wait", {}, {}},
    {Action::exit, "exit", {}, {}},
}};

/// A value as an error shows it: short, on one line.
std::string shown(const json& value) {
    constexpr size_t kLongest = 40;
    std::string text = value.dump(-1, ' ', true, json::error_handler_t::replace);
    if (text.size() > kLongest) {
        text = text.substr(0, kLongest) + "...";
    }
    return text;
}

template <typename Range>
bool contains(const Range& range, std::string_view name) {
    return std::find(range.begin(), range.end(), name) != range.end();
}

std::string actionNames() {
    std::vector<std::string_view> names;
    names.reserve(std::size(kActions));
    for (const ActionKeys& keys : kActions) {
        names.push_back(keys.name);
    }
    return fmt::format("{}", fmt::join(names, ", "));
}

/// Errors of one place of the file.
class Place {
public:
    explicit Place(std::string where) : where_(std::move(where)) {}

    [[noreturn]] void fail(const std::string& text) const { throw ScenarioError(where_ + ": " + text); }

    [[noreturn]] void failExpected(std::string_view key, std::string_view expected, const json& found) const {
        fail(fmt::format("\"{}\": expected {}, found {}", key, expected, shown(found)));
    }

private:
    std::string where_;
};

/// Reads the members of one step object.
class StepReader {
public:
    StepReader(const json& object, int number, const std::string& source)
        : object_(object),
          number_(number),
          where_(fmt::format("{}: step {}", source, number)),
          place_(where_) {}

    Step read() {
        if (!object_.is_object()) {
            place_.fail(fmt::format("expected an object, found {}", shown(object_)));
        }
        const ActionKeys& keys = action();
        place_ = Place(fmt::format("{} ({})", where_, keys.name));
        checkKeys(keys);
        Step step;
        step.number = number_;
        step.action = keys.action;
        step.at = seconds("at");
        readRepetition(step);
        if (const auto with = object_.find("with"); with != object_.end()) {
            if (!with->is_object()) {
                place_.failExpected("with", "an object", *with);
            }
            step.with = *with;
        }
        readChanges(step);
        return step;
    }

private:
    const ActionKeys& action() const {
        const auto found = object_.find("do");
        if (found == object_.end()) {
            place_.fail("\"do\" is missing: expected one of " + actionNames());
        }
        if (found->is_string()) {
            for (const ActionKeys& keys : kActions) {
                if (keys.name == found->get_ref<const std::string&>()) {
                    return keys;
                }
            }
        }
        place_.failExpected("do", "one of " + actionNames(), *found);
    }

    void checkKeys(const ActionKeys& keys) const {
        for (const auto& item : object_.items()) {
            const std::string& key = item.key();
            if (key != "at" && key != "do" && key != "comment" && !contains(keys.required, key) &&
                !contains(keys.optional, key)) {
                std::vector<std::string_view> known{"at", "do", "comment"};
                known.insert(known.end(), keys.required.begin(), keys.required.end());
                known.insert(known.end(), keys.optional.begin(), keys.optional.end());
                place_.fail(
                    fmt::format("unknown key \"{}\": expected one of {}", key, fmt::join(known, ", ")));
            }
        }
        for (const std::string_view key : keys.required) {
            if (!object_.contains(key)) {
                place_.fail(fmt::format("\"{}\" is missing", key));
            }
        }
        if (object_.contains("every") != object_.contains("until")) {
            place_.fail("\"every\" and \"until\" belong together, but only one of them is there");
        }
        if (object_.contains("changes") && !object_.contains("every")) {
            place_.fail("\"changes\" needs \"every\" and \"until\"");
        }
    }

    double seconds(const char* key) const {
        const auto found = object_.find(key);
        if (found == object_.end()) {
            place_.fail(fmt::format("\"{}\" is missing: expected a number of seconds", key));
        }
        const double value = found->is_number() ? found->get<double>() : -1;
        if (!(value >= 0 && value <= kLatest)) {
            place_.failExpected(key, fmt::format("a number of seconds from 0 to {:.0f}", kLatest), *found);
        }
        return value;
    }

    void readRepetition(Step& step) const {
        if (!object_.contains("every")) {
            return;
        }
        step.every = seconds("every");
        step.until = seconds("until");
        if (step.every <= 0) {
            place_.failExpected("every", "a number of seconds above 0", object_["every"]);
        }
        if (step.until < step.at) {
            place_.failExpected("until", fmt::format("a time not before \"at\" ({})", step.at),
                                object_["until"]);
        }
        if ((step.until - step.at) / step.every > kMostRepeats) {
            place_.fail(fmt::format("repeats more than {:.0f} times", kMostRepeats));
        }
    }

    void readChanges(Step& step) const {
        const auto found = object_.find("changes");
        if (found == object_.end()) {
            return;
        }
        if (!found->is_array()) {
            place_.failExpected("changes", "a list of objects", *found);
        }
        for (const json& change : *found) {
            if (!change.is_object()) {
                place_.fail(fmt::format("\"changes\", entry {}: expected an object, found {}",
                                        step.changes.size() + 1, shown(change)));
            }
            step.changes.push_back(change);
        }
        const auto repeats = static_cast<size_t>((step.until - step.at) / step.every + 1e-9);
        if (step.changes.size() > repeats) {
            place_.fail(fmt::format("\"changes\" has {} entries, but only {} messages follow the first",
                                    step.changes.size(), repeats));
        }
    }

    const json& object_;
    int number_;
    std::string where_;
    Place place_;
};

/// Parses JSON text; a key that an object has twice is an error, too.
json parseText(const std::string& text, const std::string& source) {
    std::vector<std::set<std::string>> open;
    const json::parser_callback_t watchKeys = [&](int, json::parse_event_t event, json& value) {
        if (event == json::parse_event_t::object_start) {
            open.emplace_back();
        } else if (event == json::parse_event_t::object_end) {
            open.pop_back();
        } else if (event == json::parse_event_t::key) {
            const auto& key = value.get_ref<const std::string&>();
            if (!open.back().insert(key).second) {
                throw ScenarioError(fmt::format("{}: an object has the key \"{}\" twice", source, key));
            }
        }
        return true;
    };
    try {
        return json::parse(text, watchKeys, true, true);
    } catch (const json::parse_error& error) {
        const std::string_view before = std::string_view(text).substr(0, error.byte > 0 ? error.byte - 1 : 0);
        const auto line = std::count(before.begin(), before.end(), '\n') + 1;
        const size_t column = before.size() - (before.find_last_of('\n') + 1) + 1;
        std::string reason = error.what();
        if (const size_t start = reason.find(": "); start != std::string::npos) {
            reason.erase(0, start + 2);
        }
        throw ScenarioError(fmt::format("{}:{}:{}: {}", source, line, column, reason));
    }
}

/// The client is gone after "exit" and "crash".
void checkNothingAfterTheEnd(const std::vector<Step>& steps, const std::string& source) {
    const Step* end = nullptr;
    for (const Step& step : steps) {
        const bool ends = step.action == Action::exit || step.action == Action::crash;
        if (ends && (end == nullptr || step.at < end->at)) {
            end = &step;
        }
    }
    if (end == nullptr) {
        return;
    }
    for (const Step& step : steps) {
        const bool later = step.at > end->at || (step.at == end->at && step.number > end->number);
        if (later || step.until > end->at) {
            throw ScenarioError(
                fmt::format("{}: step {} ({}): happens after step {} ({}) has ended the client", source,
                            step.number, nameOf(step.action), end->number, nameOf(end->action)));
        }
    }
}

}  // namespace

std::string_view nameOf(Action action) {
    const auto* const found = std::find_if(kActions.begin(), kActions.end(),
                                           [&](const ActionKeys& keys) { return keys.action == action; });
    return found->name;
}

Scenario parseScenario(const std::string& text, const std::string& source) {
    const json document = parseText(text, source);
    const Place place(source);
    if (!document.is_object()) {
        place.fail(fmt::format("expected an object with \"steps\", found {}", shown(document)));
    }
    for (const auto& item : document.items()) {
        if (item.key() != "description" && item.key() != "steps") {
            place.fail(fmt::format("unknown key \"{}\": expected description, steps", item.key()));
        }
    }
    Scenario scenario;
    if (const auto found = document.find("description"); found != document.end()) {
        if (!found->is_string()) {
            place.failExpected("description", "a text", *found);
        }
        scenario.description = found->get<std::string>();
    }
    const auto steps = document.find("steps");
    if (steps == document.end()) {
        place.fail("\"steps\" is missing: expected a list of steps");
    }
    if (!steps->is_array() || steps->empty()) {
        place.failExpected("steps", "a list of at least one step", *steps);
    }
    for (const json& step : *steps) {
        const int number = static_cast<int>(scenario.steps.size()) + 1;
        scenario.steps.push_back(StepReader(step, number, source).read());
    }
    checkNothingAfterTheEnd(scenario.steps, source);
    return scenario;
}

void setParameters(Scenario& scenario, const nlohmann::json& members) {
    for (Step& step : scenario.steps) {
        if (step.action == Action::parameters || (step.action == Action::reportAndExit && step.with)) {
            step.with->update(members);
        }
    }
}

Scenario loadScenario(const std::string& path) {
    std::error_code reason;
    if (std::filesystem::is_directory(path, reason)) {
        throw ScenarioError(path + ": expected a file, found a folder");
    }
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) {
        throw ScenarioError(fmt::format("{}: cannot be read: {}", path, std::strerror(errno)));
    }
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return parseScenario(text, path);
}

}  // namespace clientsim
