#pragma once

#include <string>
#include <vector>

/// A message for the user to address and send.
struct ReportMail {
    std::string _recipient;  ///< an address, or "" to leave it to the user
    std::string _mailTitle;
    std::string _mailBody;
    std::vector<std::string> _attachments;  ///< full paths; only the first is attached
};
