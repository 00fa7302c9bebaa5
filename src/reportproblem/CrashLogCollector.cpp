#include "reportproblem/CrashLogCollector.h"

#include "reportproblem/OrvLogConstants.h"

CrashLogCollector::CrashLogCollector() {
    CrashLogCollector::initLogFolderPath();
}

bool CrashLogCollector::isExpectedLog(const std::string& name) const {
    return isNamed(name, OrvMeetingCrashLogPrefix, OrvMeetingCrashLogExtension);
}

void CrashLogCollector::initLogFolderPath() {
    setLogFolderPath("~/Library/Logs/DiagnosticReports");
}
