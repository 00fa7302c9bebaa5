#include "Options.h"

#include <fmt/format.h>

#include <charconv>
#include <filesystem>
#include <string_view>
#include <vector>

#include "devtools/shared/CommandLine.h"

namespace clientsim {

namespace {

constexpr double kLargest = 1e6;

constexpr const char* kAbout =
    R"(Plays a meeting client for the troubleshooting assistant: starts the assistant, waits until it
is ready and does to it, step by step, what a scenario file says.
)";

constexpr const char* kMore = R"(Scenario:
  A JSON object with "description" (a text, optional) and "steps" (a list). Comments as in
  C++ are allowed. Steps are played by time, in any order in the file; those of the same
  moment in the order of the file. Each step has
    "at"       seconds after the assistant was ready
    "do"       the action
    "comment"  a text for the reader (optional)
  and what the action takes:

  parameters       sends the session parameters "with" (an object). If it has no
                   "processID", the simulated client's is put in.
  heartbeat        sends one heartbeat.
  heartbeats       sends heartbeats "every" so many seconds, from "at" "until" a time.
  meeting-data     sends "with" (an object) over the message port. With "every" and "until"
                   it is sent repeatedly; before each message after the first the next entry
                   of "changes" (a list of partial objects) is merged into it, where null
                   removes a member. When the list is used up the object stays as it is. An
                   "event" goes with its one message only.
  report           asks for the problem report window.
  report-and-exit  the same, and the assistant ends afterwards; "with" (parameters) optional.
  quit             says goodbye, as a client does that ends normally.
  freeze           from now on no heartbeat of a "heartbeats" step that began before; the
                   client stays alive until the last step.
  crash            the client is killed (SIGKILL). No step can follow.
  wait             does nothing; keeps the client alive until then.
  exit             the client ends, without a goodbye of its own. No step can follow.

  The client ends after the last step. An unknown key is an error.

Examples:
  A short session:
    {
      "description": "join, a quality drop, quit",
      "steps": [
        {"at": 0, "do": "parameters", "with": {"confId": "123", "confName": "Weekly"}},
        {"at": 0, "do": "heartbeats", "every": 5, "until": 20},
        {"at": 1, "do": "meeting-data", "every": 5, "until": 16,
         "with": {"network": {"networkStatus": 1}, "audioQuality": {"audioType": 1}},
         "changes": [{"audioQuality": {"sendQuality": 3}}, {"event": {"eventType": 1}}]},
        {"at": 20, "do": "quit"}
      ]
    }

  orvane-client-sim --show hello
  orvane-client-sim --speed 20 --show --trace-out trace.csv meeting
  orvane-client-sim --keep crash

Exit status:
  0  played to the end, and the assistant ended as expected or was kept
  1  the assistant failed: it did not start, was not ready within 10 seconds, ended too early
     or with an error, or had to be ended although the scenario quits, crashes or asks for a
     report and exit
  2  a bad command line or scenario
)";

// As CLI11 wants a check: empty if the text is right, else what is wrong.
std::string positiveNumber(const std::string& text) {
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc() && result.ptr == text.data() + text.size() && value > 0 && value <= kLargest)
        return {};
    return fmt::format("expected a number above 0 and up to {:.0f}, found \"{}\"", kLargest, text);
}

std::string nameAndValue(const std::string& text) {
    const size_t sign = text.find('=');
    if (sign != 0 && sign != std::string::npos)
        return {};
    return fmt::format("expected NAME=VALUE, found \"{}\"", text);
}

// NAME=VALUE: the value is JSON, or else the text as it is.
void setParameter(nlohmann::json& parameters, std::string_view text) {
    const size_t sign = text.find('=');
    const std::string_view value = text.substr(sign + 1);
    nlohmann::json parsed = nlohmann::json::parse(value, nullptr, false);
    parameters[std::string(text.substr(0, sign))] =
        parsed.is_discarded() ? nlohmann::json(value) : std::move(parsed);
}

}  // namespace

std::optional<int> readOptions(Options& options, int argc, char** argv) {
    devtools::CommandLine line("orvane-client-sim", SIM_VERSION, kAbout, kMore);
    double timeout = 10;
    std::vector<std::string> parameters;
    const auto add = [&line](const char* name, auto& value, const char* type, const char* meaning) {
        return line.add_option(name, value, meaning)->type_name(type);
    };
    add("SCENARIO", options.scenario, "",
        "a file, or the name of an installed scenario, with or without\n\".json\": hello, report, meeting, "
        "freeze, crash, quit")
        ->required();
    options.assistant = programFolder() + "/orvanedga";
    add("--assistant", options.assistant, "PATH",
        "the assistant's program (default: orvanedga beside this program)");
    add("--speed", options.speed, "FACTOR",
        "play FACTOR times as fast: divides all times of the scenario. The\nassistant's own times (180 s "
        "until "
        "a freeze) stay as they are")
        ->check(positiveNumber);
    line.add_flag("--show", options.show,
                  "at the end show what happened: the time to the ready notification,\nthe trace file as a "
                  "table, the topic file, where the assistant's log is");
    line.add_flag("--group", options.grouped,
                  "as --show, the trace grouped by what its records are about, with\nthe meaning of each");
    add("--trace-out", options.traceOut, "FILE", "copy the raw trace file to FILE");
    add("--set", parameters, "NAME=VALUE",
        "put this into all session parameters of the scenario; VALUE is\nJSON, or else a text: --set "
        "activeLanguage=9\n--set uploadURL=http://127.0.0.1/?a=b")
        ->check(nameAndValue)
        ->allow_extra_args(false)
        ->take_all();
    line.add_flag("--keep", options.keep, "leave the assistant running at the end");
    add("--timeout", timeout, "SECONDS",
        "how long to wait at the end for the assistant to end by itself,\nbefore it gets SIGTERM (default: "
        "10)")
        ->check(positiveNumber);
    line.add_flag("-q,--quiet", options.quiet, "print no line per step");

    if (const auto status = line.read(argc, argv))
        return status;
    options.show = options.show || options.grouped;
    options.timeout = std::chrono::milliseconds(static_cast<int64_t>(timeout * 1000));
    for (const auto& parameter : parameters)
        setParameter(options.parameters, parameter);
    return std::nullopt;
}

std::string findScenario(const std::string& given, const std::string& installedFolder) {
    std::error_code ignored;
    if (given.find('/') != std::string::npos || std::filesystem::is_regular_file(given, ignored)) {
        return given;
    }
    for (const char* ending : {"", ".json"}) {
        std::string path = fmt::format("{}/{}{}", installedFolder, given, ending);
        if (std::filesystem::is_regular_file(path, ignored)) {
            return path;
        }
    }
    return given;
}

std::string programFolder() {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path().string();
}

}  // namespace clientsim
