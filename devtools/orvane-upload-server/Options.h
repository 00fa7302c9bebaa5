#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace uploadserver {

/// How a request can be made to fail.
enum class Failure {
    none,
    busy,      ///< Status "BUSY"
    fail,      ///< Status "FAIL"
    exceed,    ///< Status "FAIL", ExceedFileNumber "true"
    status,    ///< an HTTP status
    redirect,  ///< sent on to the same place once, and then taken
    slow,      ///< the answer comes after 40 seconds
    cut,       ///< the connection is cut in the middle of the reply
    wrongxml,  ///< a reply that is not well-formed
    html,      ///< a well-formed page of something else
    bomb       ///< a reply whose entities expand to gigabytes
};

struct Options {
    bool quiet = false;
    int port = 0;  ///< 0: any that is free
    std::string certificate;
    std::string key;
    std::string store;  ///< empty: nothing is kept
    Failure failure = Failure::none;
    int httpStatus = 0;   ///< of Failure::status
    unsigned failAt = 0;  ///< 0: the query; else this piece and those after it
    std::chrono::milliseconds delay{0};
};

/// Reads the command line. The exit status if the program is to end now: help or what is wrong has been
/// printed.
std::optional<int> readOptions(Options& options, int argc, char** argv);

}  // namespace uploadserver
