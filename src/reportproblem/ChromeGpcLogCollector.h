#pragma once

#include <string>

#include "reportproblem/LogCollector.h"

/// Logs of the browser's plug-in component.
class ChromeGpcLogCollector final : public LogCollector {
public:
    ChromeGpcLogCollector();
    bool isExpectedLog(const std::string& name) const override;
    void initLogFolderPath() override;
};
