#pragma once

#include <string>

#include "reportproblem/LogCollector.h"

/// Logs of the assistant itself.
class DGALogCollector final : public LogCollector {
public:
    DGALogCollector();
    bool isExpectedLog(const std::string& name) const override;
    void initLogFolderPath() override;
};
