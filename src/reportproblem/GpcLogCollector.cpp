#include "reportproblem/GpcLogCollector.h"

#include "reportproblem/OrvLogConstants.h"

GpcLogCollector::GpcLogCollector() {
    GpcLogCollector::initLogFolderPath();
}

const std::vector<std::string>& GpcLogCollector::allLogsSortedByTimestamp() {
    findAllLogs();
    return allLogs();
}

bool GpcLogCollector::isExpectedLog(const std::string& name) const {
    return name == OrvGpcLogName;
}

void GpcLogCollector::initLogFolderPath() {
    setLogFolderPath("/tmp");
}
