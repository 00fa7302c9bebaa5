#include "Options.h"

#include <map>
#include <tuple>

#include "devtools/shared/CommandLine.h"

namespace uploadserver {

namespace {

constexpr const char* kAbout =
    R"(A server on this machine only (127.0.0.1) that takes problem reports as the real one does: for
trying out the assistant and for tests. It answers the workload query, checks every piece strictly
and says what is wrong with one. Any path will do; put a query into the URL, as in
http://127.0.0.1:PORT/upload?siteid=1, because the assistant appends its own with "&".
)";

constexpr const char* kMore = R"(Ends with SIGTERM or SIGINT (Ctrl-C).

Examples:
  orvane-upload-server --port 8080 --store /tmp/reports
  orvane-upload-server --port 8080 --fail cut --fail-at 3

Exit status: 0 ended by a signal, 1 the port, certificate or folder cannot be used, 2 a bad
command line.
)";

constexpr const char* kModes = R"(fail, in one of these ways:
  busy, fail    refuse politely: Status BUSY or FAIL
  exceed        refuse because there are too many files
  401, 403, 404, 407, 500
                answer with this HTTP status
  redirect      send the request on (307) and take it there
  slow          answer after 40 s; the assistant waits 30 s
  cut           cut the connection in the middle of the reply
  wrongxml      a reply that is not well-formed
  html          a page of something else, as a captive portal sends it
  bomb          XML entities that would expand to gigabytes)";

const std::map<std::string, Failure> kFailures = {
    {"busy", Failure::busy},         {"fail", Failure::fail},  {"exceed", Failure::exceed},
    {"redirect", Failure::redirect}, {"slow", Failure::slow},  {"cut", Failure::cut},
    {"wrongxml", Failure::wrongxml}, {"html", Failure::html},  {"bomb", Failure::bomb},
    {"401", Failure::status},        {"403", Failure::status}, {"404", Failure::status},
    {"407", Failure::status},        {"500", Failure::status}};

}  // namespace

std::optional<int> readOptions(Options& options, int argc, char** argv) {
    devtools::CommandLine line("orvane-upload-server", UPLOAD_SERVER_VERSION, kAbout, kMore);
    line.add_option("--port", options.port,
                    "the port; 0, the default, takes one that is free. The first line\nof output is always "
                    "\"listening on http://127.0.0.1:PORT/\"")
        ->type_name("N")
        ->check(CLI::Range(0, 65535).description(""));
    std::tuple<std::string, std::string> pair;
    line.add_option("--tls", pair, "speak https with this certificate and key (PEM files)")
        ->type_name("CERT KEY");
    line.add_option("--store", options.store,
                    "keep what arrives: every complete archive as DIR/<file name>.zip\nand the fields of its "
                    "pieces, one JSON object a line, as\nDIR/<file name>.pieces.jsonl. Without it pieces are "
                    "checked and\ncounted, and thrown away")
        ->type_name("DIR");
    std::string mode;
    line.add_option("--fail", mode, kModes)
        ->type_name("MODE")
        ->check(CLI::IsMember(kFailures).description(""));
    line.add_option("--fail-at", options.failAt,
                    "fail from the N-th piece on; 0, the default, fails the query")
        ->type_name("N")
        ->check(CLI::Range(0, 1000000).description(""));
    int delay = 0;
    line.add_option("--delay", delay, "wait so many milliseconds before every answer")
        ->type_name("MS")
        ->check(CLI::Range(0, 600000).description(""));
    line.add_flag("-q,--quiet", options.quiet, "print no line per request");

    if (const auto status = line.read(argc, argv))
        return status;
    std::tie(options.certificate, options.key) = pair;
    options.delay = std::chrono::milliseconds(delay);
    if (!mode.empty())
        options.failure = kFailures.at(mode);
    if (options.failure == Failure::status)
        options.httpStatus = std::stoi(mode);
    return std::nullopt;
}

}  // namespace uploadserver
