#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "DGAMonitor/Session/DGASessionEvents.h"
#include "platform/Guarded.h"

class DGATelemetryManager;

/// The session record: what the client has told about itself, the meeting and the user, and the state of the
/// run. Everything else reads it.
///
/// The fields may be read and set by any thread: each is an atomic, or a text that is read as a copy. A text
/// that the client did not send is missing.
class DGASessionRecord {
public:
    using Text = platform::Guarded<std::optional<std::string>>;

    /// The one record of the run. It lives as long as the process.
    static DGASessionRecord& sharedRecord();

    // Who is who.
    Text dga_pID;  ///< this process's id in decimal
    Text pID;      ///< the watched client's
    std::atomic<int64_t> serviceType{0};
    Text clientVersion;

    // The meeting, the user and the site.
    Text confID;
    Text confName;
    Text userID;
    Text userName;
    Text userEmail;
    Text siteID;
    Text siteURL;
    Text meetingKey;
    Text smac;
    Text smacTimestap;
    Text uploadURL;
    Text logFileName;  ///< full path of the client's own log

    // Language: the client's number, and the name of the string table for it.
    Text languageID;
    Text language;

    // What the client allows.
    std::atomic<bool> enableSendReport{false};
    std::atomic<bool> telemetryEnable{false};
    std::atomic<bool> enableAccompnyDGA{false};
    std::atomic<bool> isSignStatus{false};

    Text telemetrySessionID;  ///< also the tracking id of a report
    Text telemetryMetricsURL;
    platform::Guarded<std::shared_ptr<const nlohmann::json>> telemetryHttpHeaders;  ///< null if not sent

    /// None until a parameter message has brought an address. Main thread only.
    std::shared_ptr<DGATelemetryManager> telemetryMrg;

    // The state of the run.
    std::atomic<bool> readyToQuit{false};    ///< nothing but visible windows keeps the assistant alive
    std::atomic<bool> isFreeze{false};       ///< the client counts as frozen
    std::atomic<bool> isUT{false};           ///< keeps the process alive at quit
    std::atomic<bool> clientHasQuit{false};  ///< the client has said goodbye
    std::atomic<bool> endReported{false};    ///< the report of the client's end, good or bad, has ended
    DGASessionEvents events;                 ///< what has happened so far
    Text keptReport;                         ///< the kept report that the next opening of a window is about
    const std::chrono::system_clock::time_point started = std::chrono::system_clock::now();

    DGASessionRecord(const DGASessionRecord&) = delete;
    DGASessionRecord& operator=(const DGASessionRecord&) = delete;

private:
    DGASessionRecord();
};
