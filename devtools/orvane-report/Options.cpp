#include "Options.h"

#include <CLI/CLI.hpp>

namespace orvanereport {

std::optional<Options> parseOptions(int argc, char** argv, int& status) {
    Options options;
    CLI::App app(
        "Makes a page of problem reports that opens in any browser and needs no network, or one\n"
        "line of JSON for each record in them.\n"
        "\n"
        "  orvane-report REPORT.zip -o report.html\n"
        "  orvane-report --jsonl FOLDER > records.jsonl\n",
        "orvane-report");
    app.set_version_flag("-V,--version", "orvane-report " REPORT_VERSION);
    app.add_option("REPORT", options.inputs, "Archives; with --jsonl also folders of them")->required();
    auto* const output = app.add_option("-o,--output", options.output, "The page to write");
    auto* const lines = app.add_flag("--jsonl", options.jsonLines, "Write records to standard output");
    auto* const open = app.add_flag("--open", options.open, "Open the page in the browser");
    app.add_flag("--mask", options.mask,
                 "Replace names, addresses, ids, keys and hosts by tokens; beside the page, write\n"
                 "each archive so masked, without its pictures");
    app.add_option("--mapping", options.mapping,
                   "With --mask: write what stands behind each token to this file");
    output->excludes(lines);
    open->excludes(lines);
    app.footer(
        "Exit status: 0 all was read; 1 an archive was damaged and passed over, or nothing could be\n"
        "written; 2 a bad command line.");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        constexpr int kUsage = 2;
        status = app.exit(error) == 0 ? 0 : kUsage;
        return std::nullopt;
    }
    if (options.output.empty() && !options.jsonLines && !options.open) {
        std::cerr << "orvane-report: say where the page goes: -o FILE, --open, or --jsonl for records\n";
        status = 2;
        return std::nullopt;
    }
    return options;
}

}  // namespace orvanereport
