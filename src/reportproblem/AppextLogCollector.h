#pragma once

#include <string>

#include "reportproblem/LogCollector.h"

/// Logs of the applet extension.
class AppextLogCollector final : public LogCollector {
public:
    AppextLogCollector();
    bool isExpectedLog(const std::string& name) const override;
    void initLogFolderPath() override;
};
