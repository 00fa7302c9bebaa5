#pragma once

#include <httplib.h>

#include <string>

#include "Options.h"

namespace uploadserver {

/// The server's reply document.
std::string replyDocument(const std::string& status, bool exceedFileNumber);

/// Fills in a reply that fails as wanted. False if the request is to be handled as usual after all.
bool fillFailure(const Options& options, const httplib::Request& request, httplib::Response& response);

}  // namespace uploadserver
