#include "reportproblem/ChromeGpcLogCollector.h"

#include "reportproblem/OrvLogConstants.h"

ChromeGpcLogCollector::ChromeGpcLogCollector() {
    ChromeGpcLogCollector::initLogFolderPath();
}

bool ChromeGpcLogCollector::isExpectedLog(const std::string& name) const {
    return isNamed(name, OrvChromeGpcLogPrefix, OrvChromeGpcLogExtension) &&
           (contains(name, OrvGpcLogKeyword) || contains(name, OrvCWSLogKeyword));
}

void ChromeGpcLogCollector::initLogFolderPath() {
    setLogFolderPath("/tmp/orvtrace/cws");
}
