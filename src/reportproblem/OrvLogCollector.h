#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "reportproblem/AppextLogCollector.h"
#include "reportproblem/ChromeGpcLogCollector.h"
#include "reportproblem/CrashLogCollector.h"
#include "reportproblem/DGALogCollector.h"
#include "reportproblem/GpcLogCollector.h"
#include "reportproblem/MeetingLogCollector.h"

/// One collector of every kind, and what a problem report asks of them. All results are full paths, newest
/// first; "" stands for a log that there is not. One thread at a time.
class OrvLogCollector {
public:
    using Paths = std::vector<std::string>;

    // All of them are set before anything else is called; see OrvLogCollectorConfigurator.
    std::unique_ptr<MeetingLogCollector> meetingLogCollector;
    std::unique_ptr<GpcLogCollector> gpcLogCollector;
    std::unique_ptr<ChromeGpcLogCollector> chromeGpcLogCollector;
    std::unique_ptr<AppextLogCollector> appextLogCollector;
    std::unique_ptr<CrashLogCollector> crashLogCollector;
    std::unique_ptr<DGALogCollector> dgaLogCollector;

    /// The topic file and the trace of the run; the list ends before the first that is missing.
    std::vector<std::optional<std::string>> traceFiles;

    Paths allMeetingLogsSortedByTimestamp() { return meetingLogCollector->allLogsSortedByTimestamp(); }
    Paths allGpcLogsSortedByTimestamp() { return gpcLogCollector->allLogsSortedByTimestamp(); }
    Paths allChromeGpcLogsSortedByTimestamp() { return chromeGpcLogCollector->allLogsSortedByTimestamp(); }
    Paths allAppextLogsSortedByTimestamp() { return appextLogCollector->allLogsSortedByTimestamp(); }
    Paths allDGALogsSortedByTimestamp() { return dgaLogCollector->allLogsSortedByTimestamp(); }

    std::string latestMeetingLog() { return meetingLogCollector->latestLog(); }
    std::string latestGpcLog() { return gpcLogCollector->latestLog(); }
    std::string latestChromeGpcLog() { return chromeGpcLogCollector->latestLog(); }
    std::string latestAppextLog() { return appextLogCollector->latestLog(); }
    std::string latestDGALog() { return dgaLogCollector->latestLog(); }

    /// All crash reports. Every call lists the folder again and keeps what was found before.
    Paths crashLogs() { return crashLogCollector->allLogsSortedByTimestamp(); }
    Paths allCrashLogs() { return crashLogs(); }

    /// The logs of all kinds, one kind after another; no crash reports.
    Paths allLogs();

    /// What goes into every report of the meeting service, in this order: the meeting log, the newest of the
    /// gpc, chrome-gpc and applet logs, the client's parameters, the newest of the assistant's own logs, the
    /// topic file and the trace.
    Paths allLatestLogs();

    /// "orvaneparameters.txt" beside the assistant, whether it is there or not.
    std::string latestOrvaneParameters() const;

    /// The log that the client has named in the session record, if that is the full path of a file.
    std::string latestMeetingLogFromHV() const;

    /// The texts up to the first that is missing.
    static Paths listUntilMissing(const std::vector<std::optional<std::string>>& texts);
};
