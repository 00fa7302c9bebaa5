#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

namespace upload {

struct Options {
    bool help = false;
    bool version = false;
    bool quiet = false;
    std::chrono::seconds patience{60};  ///< without any progress
    std::string log;                    ///< a sub path of the log's folder; empty: no log
    std::string url;
    std::string file;

    // What the session says of itself.
    std::string confId = "1000000001";
    std::string confName = "Upload test";
    std::string smac;
    std::string smacTimestap;
    std::string userId = "0";
    std::string siteId = "0";
    std::string userName = "orvane-upload";
    std::string userEmail;
    std::string meetingKey;
    std::string trackingId;
    std::string languageId = "1";
    std::string clientVersion = UPLOAD_VERSION;
    std::string comment = "test comment";
    std::string category = "0";
    std::string fileName;  ///< empty: the file's own name up to its first "."
};

/// A command line that cannot be used; what() says why.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the command line. Throws UsageError.
Options parseOptions(int argc, char** argv);

std::string helpText();
const char* usageText();

}  // namespace upload
