#include "Options.h"

#include <fmt/format.h>
#include <getopt.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <vector>

namespace upload {

namespace {

struct Field {
    const char* option;
    std::string Options::*value;
    const char* meaning;
};

constexpr Field kFields[] = {
    {"conf-id", &Options::confId, "conference id"},
    {"conf-name", &Options::confName, "conference name"},
    {"smac", &Options::smac, "the session's key"},
    {"smac-timestamp", &Options::smacTimestap, "the time of that key"},
    {"user-id", &Options::userId, "user id"},
    {"site-id", &Options::siteId, "site id"},
    {"user-name", &Options::userName, "user name"},
    {"user-email", &Options::userEmail, "user's e-mail address"},
    {"meeting-key", &Options::meetingKey, "meeting key"},
    {"tracking-id", &Options::trackingId, "tracking id"},
    {"language-id", &Options::languageId, "language number"},
    {"client-version", &Options::clientVersion, "the client's version"},
    {"comment", &Options::comment, "the user's description"},
    {"category", &Options::category, "problem category number"},
    {"file-name", &Options::fileName, "name of the archive at the server"},
};

enum : int { kHelp = 'h', kVersion = 'V', kQuiet = 'q', kPatience = 256, kLog, kFirstField };

std::vector<option> longOptions() {
    std::vector<option> options{
        {"help", no_argument, nullptr, kHelp},     {"version", no_argument, nullptr, kVersion},
        {"quiet", no_argument, nullptr, kQuiet},   {"patience", required_argument, nullptr, kPatience},
        {"log", required_argument, nullptr, kLog},
    };
    for (size_t i = 0; i < std::size(kFields); ++i)
        options.push_back({kFields[i].option, required_argument, nullptr, kFirstField + static_cast<int>(i)});
    options.push_back({nullptr, 0, nullptr, 0});
    return options;
}

std::chrono::seconds secondsOf(std::string_view text) {
    int value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || value < 1 || value > 86400)
        throw UsageError(fmt::format("--patience: expected seconds from 1 to 86400, found \"{}\"", text));
    return std::chrono::seconds(value);
}

void applyOption(Options& options, int which) {
    if (which == kHelp)
        options.help = true;
    else if (which == kVersion)
        options.version = true;
    else if (which == kQuiet)
        options.quiet = true;
    else if (which == kPatience)
        options.patience = secondsOf(optarg);
    else if (which == kLog)
        options.log = optarg;
    else
        options.*kFields[which - kFirstField].value = optarg;
}

}  // namespace

Options parseOptions(int argc, char** argv) {
    Options options;
    const auto known = longOptions();
    optind = 0;
    opterr = 0;
    for (int which = 0; (which = getopt_long(argc, argv, ":hVq", known.data(), nullptr)) != -1;) {
        if (which == ':')
            throw UsageError(fmt::format("{}: a value is missing", argv[optind - 1]));
        if (which == '?')
            throw UsageError(fmt::format("unknown option {}", argv[optind - 1]));
        applyOption(options, which);
    }
    if (options.help || options.version)
        return options;
    if (argc - optind != 2)
        throw UsageError(fmt::format("expected a URL and a file, found {} argument(s)", argc - optind));
    options.url = argv[optind];
    options.file = argv[optind + 1];
    if (options.fileName.empty()) {
        const std::string name = options.file.substr(options.file.rfind('/') + 1);
        options.fileName = name.substr(0, name.find('.'));
    }
    return options;
}

const char* usageText() {
    return "usage: orvane-upload [options] URL FILE\nTry \"orvane-upload --help\".\n";
}

std::string helpText() {
    std::string text = R"(usage: orvane-upload [options] URL FILE

Sends FILE to the upload server at URL as the assistant sends a problem report: asks whether the
server takes it, then posts it in pieces of 122880 bytes. URL carries a query, because more is
appended with "&": http://127.0.0.1:8080/upload?siteid=1. The proxies of the desktop are used.

Options:
  --patience SECONDS     give up when nothing has moved for so long (default: 60)
  --log SUBPATH          write the log to /tmp/orvtrace/SUBPATH
  -q, --quiet            print only what is wrong
  -h, --help             show this text
  -V, --version          show the version

What the report says of its session:
)";
    const Options defaults;
    for (const auto& field : kFields) {
        const std::string& value = defaults.*field.value;
        text += fmt::format("  {:22} {}{}\n", fmt::format("--{} TEXT", field.option), field.meaning,
                            value.empty() ? "" : fmt::format(" (default: {})", value));
    }
    return text + R"(
Exit status: 0 the server has the whole file (status 19), 1 it has not, 2 a bad command line.
)";
}

}  // namespace upload
