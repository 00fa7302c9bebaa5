#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "DGAMonitor/Session/DGAPolicy.h"
#include "DGAMonitor/Session/DGAReportMaker.h"
#include "platform/CoredumpModules.h"
#include "reportproblem/ReportSources.h"

class DGASessionRecord;

inline constexpr char kDGAReportSummaryName[] = "orvdga_report.json";

/// What a report says about itself.
struct DGAReportSummary {
    static constexpr int kFormatVersion = 1;

    std::string number;
    DGAReportOptions options;
    std::chrono::system_clock::time_point packed;
    std::vector<ReportFile> files;
    std::vector<ReportFileLeftOut> leftOut;
    DGAPolicy policy;
    std::vector<platform::CoredumpModule> modules;  ///< of the client's crash

    /// As JSON text of the form that docs/report-format.md and orvdga_report.schema.json give; bytes that are
    /// no UTF-8 become U+FFFD. Of the record only the client's version, the service, the beginning of the run
    /// and its events are taken.
    std::string json(const DGASessionRecord& record) const;
};

/// Local time with its UTC offset (RFC 3339): "2024-03-15T14:30:25+01:00".
std::string dgaTimeWithOffset(std::chrono::system_clock::time_point time);
