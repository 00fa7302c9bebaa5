#include "Options.h"

#include <fmt/format.h>
#include <getopt.h>

#include <charconv>
#include <string_view>

namespace uploadserver {

namespace {

unsigned number(std::string_view option, std::string_view text, unsigned largest) {
    unsigned value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || value > largest)
        throw UsageError(
            fmt::format("{}: expected a whole number from 0 to {}, found \"{}\"", option, largest, text));
    return value;
}

void setFailure(Options& options, std::string_view mode) {
    struct Mode {
        std::string_view name;
        Failure failure;
    };
    constexpr Mode kModes[] = {
        {"busy", Failure::busy},         {"fail", Failure::fail}, {"exceed", Failure::exceed},
        {"redirect", Failure::redirect}, {"slow", Failure::slow}, {"cut", Failure::cut},
        {"wrongxml", Failure::wrongxml}, {"html", Failure::html}, {"bomb", Failure::bomb}};
    for (const auto& known : kModes) {
        if (known.name == mode) {
            options.failure = known.failure;
            return;
        }
    }
    for (const char* status : {"401", "403", "404", "407", "500"}) {
        if (mode == status) {
            options.failure = Failure::status;
            options.httpStatus = static_cast<int>(number("--fail", mode, 999));
            return;
        }
    }
    throw UsageError(fmt::format("--fail: there is no way to fail called \"{}\"", mode));
}

enum : int { kHelp = 'h', kVersion = 'V', kQuiet = 'q', kPort = 256, kTls, kStore, kFail, kFailAt, kDelay };

const option kLongOptions[] = {
    {"help", no_argument, nullptr, kHelp},         {"version", no_argument, nullptr, kVersion},
    {"quiet", no_argument, nullptr, kQuiet},       {"port", required_argument, nullptr, kPort},
    {"tls", required_argument, nullptr, kTls},     {"store", required_argument, nullptr, kStore},
    {"fail", required_argument, nullptr, kFail},   {"fail-at", required_argument, nullptr, kFailAt},
    {"delay", required_argument, nullptr, kDelay}, {nullptr, 0, nullptr, 0},
};

void applyOption(Options& options, int which, int argc, char** argv) {
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
        case kPort:
            options.port = static_cast<int>(number("--port", optarg, 65535));
            break;
        case kTls:
            options.certificate = optarg;
            if (optind >= argc)
                throw UsageError("--tls: expected two files, the certificate and its key");
            options.key = argv[optind++];
            break;
        case kStore:
            options.store = optarg;
            break;
        case kFail:
            setFailure(options, optarg);
            break;
        case kFailAt:
            options.failAt = number("--fail-at", optarg, 1000000);
            break;
        case kDelay:
            options.delay = std::chrono::milliseconds(number("--delay", optarg, 600000));
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
    for (int which = 0; (which = getopt_long(argc, argv, "+:hVq", kLongOptions, nullptr)) != -1;) {
        if (which == ':')
            throw UsageError(fmt::format("{}: a value is missing", argv[optind - 1]));
        if (which == '?')
            throw UsageError(fmt::format("unknown option {}", argv[optind - 1]));
        applyOption(options, which, argc, argv);
    }
    if (!options.help && !options.version && optind < argc)
        throw UsageError(fmt::format("unexpected argument \"{}\"", argv[optind]));
    return options;
}

const char* usageText() {
    return "usage: orvane-upload-server [options]\nTry \"orvane-upload-server --help\".\n";
}

const char* versionText() {
    return "orvane-upload-server " UPLOAD_SERVER_VERSION "\n";
}

const char* helpText() {
    return R"(usage: orvane-upload-server [options]

A server on this machine only (127.0.0.1) that takes problem reports as the real one does: for
trying out the assistant and for tests. It answers the workload query, checks every piece strictly
and says what is wrong with one. Any path will do; put a query into the URL, as in
http://127.0.0.1:PORT/upload?siteid=1, because the assistant appends its own with "&".

Options:
  --port N           the port; 0, the default, takes one that is free. The first line of output
                     is always "listening on http://127.0.0.1:PORT/"
  --tls CERT KEY     speak https with this certificate and key (PEM files)
  --store DIR        keep what arrives: every complete archive as DIR/<file name>.zip and the fields
                     of its pieces, one JSON object a line, as DIR/<file name>.pieces.jsonl.
                     Without it pieces are checked and counted, and thrown away
  --fail MODE        fail, in one of these ways:
                       busy, fail    refuse politely: Status BUSY or FAIL
                       exceed        refuse because there are too many files
                       401, 403, 404, 407, 500
                                     answer with this HTTP status
                       redirect      send the request on (307) and take it there
                       slow          answer after 40 s; the assistant waits 30 s
                       cut           cut the connection in the middle of the reply
                       wrongxml      a reply that is not well-formed
                       html          a page of something else, as a captive portal sends it
                       bomb          XML entities that would expand to gigabytes
  --fail-at N        fail from the N-th piece on; 0, the default, fails the query
  --delay MS         wait so many milliseconds before every answer
  -q, --quiet        print no line per request
  -h, --help         show this text
  -V, --version      show the version

Ends with SIGTERM or SIGINT (Ctrl-C).

Examples:
  orvane-upload-server --port 8080 --store /tmp/reports
  orvane-upload-server --port 8080 --fail cut --fail-at 3

Exit status: 0 ended by a signal, 1 the port, certificate or folder cannot be used, 2 a bad
command line.
)";
}

}  // namespace uploadserver
