#pragma once

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace clientsim {

struct Options {
    bool show = false;
    bool grouped = false;
    bool keep = false;
    bool quiet = false;
    double speed = 1;
    std::chrono::milliseconds timeout{10000};
    std::string assistant;                                 ///< a path
    std::string traceOut;                                  ///< empty: no copy
    std::string scenario;                                  ///< as given: a path or a bare name
    nlohmann::json parameters = nlohmann::json::object();  ///< put into all session parameters
};

/// Reads the command line. The exit status if the program is to end now: help or what is wrong has been
/// printed.
std::optional<int> readOptions(Options& options, int argc, char** argv);

/// The scenario's file: the given path if there is such a file, else, for a bare name with or without
/// ".json", the file among the installed scenarios; the path as given if there is none either.
std::string findScenario(const std::string& given, const std::string& installedFolder);

/// The folder of the running program.
std::string programFolder();

}  // namespace clientsim
