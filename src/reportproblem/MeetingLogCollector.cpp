#include "reportproblem/MeetingLogCollector.h"

#include "reportproblem/OrvLogConstants.h"

MeetingLogCollector::MeetingLogCollector() {
    MeetingLogCollector::initLogFolderPath();
}

bool MeetingLogCollector::isExpectedLog(const std::string& name) const {
    return isNamed(name, OrvMeetingLogPrefix, OrvMeetingLogExtension) && !contains(name, OrvGpcLogKeyword);
}

void MeetingLogCollector::initLogFolderPath() {
    setLogFolderPath("/tmp");
}
