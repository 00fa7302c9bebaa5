#pragma once

#include <string>

#include "reportproblem/LogCollector.h"

/// Logs of the meeting client in /tmp.
class MeetingLogCollector final : public LogCollector {
public:
    MeetingLogCollector();
    bool isExpectedLog(const std::string& name) const override;
    void initLogFolderPath() override;
};
