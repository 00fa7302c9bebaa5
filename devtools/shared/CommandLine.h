#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

namespace devtools {

/// A command line with --help and --version. Of an option that is given twice the last one counts.
class CommandLine : public CLI::App {
public:
    /// `about` and `more` stand in the help before and after the options.
    CommandLine(const std::string& name, const std::string& version, const std::string& about,
                const std::string& more)
        : CLI::App(about, name) {
        option_defaults()->take_last();
        set_help_flag("-h,--help", "show this text");
        set_version_flag("-V,--version", name + " " + version, "show the version");
        get_formatter()->column_width(26);
        footer(more);
        failure_message([](const CLI::App* app, const CLI::Error& error) {
            return app->get_name() + ": " + error.what() + "\nTry \"" + app->get_name() + " --help\".\n";
        });
    }

    /// Reads the command line into what the options were made with. If the program is to end now, its exit
    /// status: 0 after --help or --version, 2 after a command line that cannot be used; it has been printed
    /// why.
    std::optional<int> read(int argc, char** argv) {
        try {
            parse(argc, argv);
            return std::nullopt;
        } catch (const CLI::ParseError& error) {
            return exit(error) == 0 ? 0 : 2;
        }
    }
};

}  // namespace devtools
