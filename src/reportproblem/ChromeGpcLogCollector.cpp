#include "reportproblem/ChromeGpcLogCollector.h"

#include "reportproblem/OrvLogConstants.h"
#include "support/ORVNLogger.h"

ChromeGpcLogCollector::ChromeGpcLogCollector() {
    ChromeGpcLogCollector::initLogFolderPath();
}

bool ChromeGpcLogCollector::isExpectedLog(const std::string& name) const {
    return isNamed(name, OrvChromeGpcLogPrefix, OrvChromeGpcLogExtension) &&
           (contains(name, OrvGpcLogKeyword) || contains(name, OrvCWSLogKeyword));
}

void ChromeGpcLogCollector::initLogFolderPath() {
    setLogFolderPath(ORVNLogger::logRoot() + "/cws");
}
