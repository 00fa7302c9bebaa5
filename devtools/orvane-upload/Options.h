#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace upload {

struct Options {
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

/// Reads the command line. The exit status if the program is to end now: help or what is wrong has been
/// printed.
std::optional<int> readOptions(Options& options, int argc, char** argv);

}  // namespace upload
