#pragma once

#include <QString>
#include <string>

#include "reportproblem/ReportMail.h"

/// The message with which the user mails a report, in the client's language; nobody is addressed yet.
ReportMail dgaReportMail(const std::string& archive, const std::string& catagory,
                         const std::string& description);

/// Moves an archive to where the user wants it. On failure it is still there, and the result says to the user
/// why; else "".
std::string dgaMoveArchive(const std::string& archive, const std::string& target);

/// Where an archive was saved, for the user; `text` has a place for the path.
QString dgaSavedText(const char* text, const std::string& path);
