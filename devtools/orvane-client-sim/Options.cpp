#include "Options.h"

#include <fmt/format.h>
#include <getopt.h>

#include <charconv>
#include <filesystem>
#include <string_view>

namespace clientsim {

namespace {

constexpr double kLargest = 1e6;

double positiveNumber(std::string_view option, std::string_view text) {
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || !(value > 0) ||
        value > kLargest) {
        throw UsageError(fmt::format("{}: expected a number above 0 and up to {:.0f}, found \"{}\"", option,
                                     kLargest, text));
    }
    return value;
}

// NAME=VALUE: the value is JSON, or else the text as it is.
void setParameter(nlohmann::json& parameters, std::string_view text) {
    const size_t sign = text.find('=');
    if (sign == 0 || sign == std::string_view::npos) {
        throw UsageError(fmt::format("--set: expected NAME=VALUE, found \"{}\"", text));
    }
    const std::string_view value = text.substr(sign + 1);
    nlohmann::json parsed = nlohmann::json::parse(value, nullptr, false);
    parameters[std::string(text.substr(0, sign))] =
        parsed.is_discarded() ? nlohmann::json(value) : std::move(parsed);
}

enum : int {
    kHelp = 'h',
    kVersion = 'V',
    kQuiet = 'q',
    kAssistant = 256,
    kSpeed,
    kShow,
    kTraceOut,
    kGroup,
    kKeep,
    kTimeout,
    kSet
};

const option kLongOptions[] = {
    {"help", no_argument, nullptr, kHelp},         {"version", no_argument, nullptr, kVersion},
    {"quiet", no_argument, nullptr, kQuiet},       {"assistant", required_argument, nullptr, kAssistant},
    {"speed", required_argument, nullptr, kSpeed}, {"show", no_argument, nullptr, kShow},
    {"group", no_argument, nullptr, kGroup},       {"trace-out", required_argument, nullptr, kTraceOut},
    {"keep", no_argument, nullptr, kKeep},         {"timeout", required_argument, nullptr, kTimeout},
    {"set", required_argument, nullptr, kSet},     {nullptr, 0, nullptr, 0},
};

void applyOption(Options& options, int which) {
    switch (which) {
        case kHelp:
            options.help = true;
            break;
        case kVersion:
            options.version = true;
            break;
        case kQuiet:
            options.quiet = true;
            break;
        case kAssistant:
            options.assistant = optarg;
            break;
        case kSpeed:
            options.speed = positiveNumber("--speed", optarg);
            break;
        case kShow:
            options.show = true;
            break;
        case kGroup:
            options.show = true;
            options.grouped = true;
            break;
        case kTraceOut:
            options.traceOut = optarg;
            break;
        case kKeep:
            options.keep = true;
            break;
        case kTimeout:
            options.timeout =
                std::chrono::milliseconds(static_cast<int64_t>(positiveNumber("--timeout", optarg) * 1000));
            break;
        case kSet:
            setParameter(options.parameters, optarg);
            break;
        default:
            break;
    }
}

}  // namespace

Options parseOptions(int argc, char** argv) {
    Options options;
    optind = 0;
    opterr = 0;
    for (int which = 0; (which = getopt_long(argc, argv, ":hVq", kLongOptions, nullptr)) != -1;) {
        if (which == ':') {
            throw UsageError(fmt::format("{}: a value is missing", argv[optind - 1]));
        }
        if (which == '?') {
            throw UsageError(fmt::format("unknown option {}", argv[optind - 1]));
        }
        applyOption(options, which);
    }
    if (options.help || options.version) {
        return options;
    }
    if (argc - optind != 1) {
        throw UsageError(fmt::format("expected one scenario, found {}", argc - optind));
    }
    options.scenario = argv[optind];
    if (options.assistant.empty()) {
        options.assistant = programFolder() + "/orvanedga";
    }
    return options;
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

const char* usageText() {
    return "usage: orvane-client-sim [options] SCENARIO.json\n"
           "Try \"orvane-client-sim --help\".\n";
}

const char* versionText() {
    return "orvane-client-sim " SIM_VERSION "\n";
}

const char* helpText() {
    return R"(usage: orvane-client-sim [options] SCENARIO.json

Plays a meeting client for the troubleshooting assistant: starts the assistant, waits until it
is ready and does to it, step by step, what a scenario file says.

SCENARIO.json is a file, or the name of an installed scenario, with or without ".json":
hello, report, meeting, trouble, freeze, crash, quit.

Options:
  --assistant PATH   the assistant's program (default: orvanedga beside this program)
  --speed FACTOR     play FACTOR times as fast: divides all times of the scenario. The
                     assistant's own times (180 s until a freeze) stay as they are
  --show             at the end show what happened: the time to the ready notification, the
                     trace file as a table, the topic file, where the assistant's log is
  --group            as --show, the trace grouped by what its records are about, with the
                     meaning of each
  --trace-out FILE   copy the raw trace file to FILE
  --set NAME=VALUE   put this into all session parameters of the scenario; VALUE is JSON, or
                     else a text: --set activeLanguage=9 --set uploadURL=http://127.0.0.1/?a=b
  --keep             leave the assistant running at the end
  --timeout SECONDS  how long to wait at the end for the assistant to end by itself, before it
                     gets SIGTERM (default: 10)
  -q, --quiet        print no line per step
  -h, --help         show this text
  -V, --version      show the version

Scenario:
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
}

}  // namespace clientsim
