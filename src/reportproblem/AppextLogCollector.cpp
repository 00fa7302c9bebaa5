#include "reportproblem/AppextLogCollector.h"

#include "reportproblem/OrvLogConstants.h"
#include "support/ORVNLogger.h"

AppextLogCollector::AppextLogCollector() {
    AppextLogCollector::initLogFolderPath();
}

bool AppextLogCollector::isExpectedLog(const std::string& name) const {
    return isNamed(name, OrvChromeGpcLogPrefix, OrvChromeGpcLogExtension) &&
           contains(name, OrvAppextLogKeywork);
}

void AppextLogCollector::initLogFolderPath() {
    setLogFolderPath(ORVNLogger::logRoot() + "/appext");
}
