#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
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
    bool help = false;
    bool version = false;
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

/// A command line that cannot be used; what() says why.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the command line. Throws UsageError.
Options parseOptions(int argc, char** argv);

const char* helpText();
const char* usageText();
const char* versionText();

}  // namespace uploadserver
