#pragma once

#include <string>
#include <vector>

#include "reportproblem/LogCollector.h"

/// The log of the plug-in component in /tmp, of which there is one.
class GpcLogCollector final : public LogCollector {
public:
    GpcLogCollector();

    /// In the order of the file system.
    const std::vector<std::string>& allLogsSortedByTimestamp() override;
    bool isExpectedLog(const std::string& name) const override;
    void initLogFolderPath() override;
};
