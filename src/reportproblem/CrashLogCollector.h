#pragma once

#include <string>

#include "reportproblem/LogCollector.h"

/// Crash reports of the meeting client.
class CrashLogCollector final : public LogCollector {
public:
    CrashLogCollector();
    bool isExpectedLog(const std::string& name) const override;
    void initLogFolderPath() override;
};
