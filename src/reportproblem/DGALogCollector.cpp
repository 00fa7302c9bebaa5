#include "reportproblem/DGALogCollector.h"

#include "reportproblem/OrvLogConstants.h"
#include "support/ORVNLogger.h"

DGALogCollector::DGALogCollector() {
    DGALogCollector::initLogFolderPath();
}

bool DGALogCollector::isExpectedLog(const std::string& name) const {
    return isNamed(name, OrvChromeGpcLogPrefix, OrvChromeGpcLogExtension) && contains(name, OrvDGALogKeyword);
}

void DGALogCollector::initLogFolderPath() {
    setLogFolderPath(ORVNLogger::logRoot() + "/dga");
}
