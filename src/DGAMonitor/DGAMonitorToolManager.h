#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Guarded.h"

class DGADealNotifTargetTool;
class DGAProblemReportingWindowInterface;
class DGATelemetryManager;
class DGAUploadWindowInterface;

namespace platform {
struct Notification;
}

/// The spine of the assistant: it subscribes to the client's notifications, tells the client that it is
/// ready, and holds the session record, which everything else reads.
///
/// The methods are for the main thread. The fields of the record may be read and set by any thread: each
/// is an atomic, or a text that is read as a copy. A text that the client did not send is missing.
class DGAMonitorToolManager {
public:
    using Text = platform::Guarded<std::optional<std::string>>;

    /// The one instance. It lives as long as the process.
    static DGAMonitorToolManager& shareManager();

    /// Starts the watch, subscribes to the notifications and says that the assistant is ready, then
    /// starts recording and sampling. Once.
    void startMonitoring();

    /// Session parameters (ORVANE_DGA_PASSING_JSON_DATA).
    void dealNormalStart(const platform::Notification& notification);

    /// Session parameters, then the report window, then the end (ORVANE_DGA_GENERATE_REPORT_AND_EXIT).
    void dealStartAndQuit(const platform::Notification& notification);

    /// Reads the session parameters into the record, logs them without personal data and writes them to
    /// the trace. Anything but a JSON object under "DgaJsonData" is ignored.
    void dealMessageFromClient(const platform::Notification& notification);

    /// Appends the eleven parameter records to the trace.
    static void saveMeetingData();

    /// Starts telemetry when the client allows it; called after every parameter message. The first one with
    /// an address decides for the run.
    void setupTelemetry();

    /// Sends an action through `telemetryMrg`; nothing where there is none.
    void sendTelemetryActionByID(int actionID) const;

    /// A notification's full name: the base name, an underscore and this process's id.
    std::string notificationName(std::string_view baseName) const;

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

    // The windows, while they exist. Main thread only.
    std::shared_ptr<DGAProblemReportingWindowInterface> rpWindowCtrl;
    std::shared_ptr<DGAUploadWindowInterface> uploadWindowCtrl;

    const std::shared_ptr<DGADealNotifTargetTool>& targetTool() const { return targetTool_; }

    DGAMonitorToolManager(const DGAMonitorToolManager&) = delete;
    DGAMonitorToolManager& operator=(const DGAMonitorToolManager&) = delete;

private:
    using TargetAction = void (DGADealNotifTargetTool::*)(const platform::Notification&);
    using ManagerAction = void (DGAMonitorToolManager::*)(const platform::Notification&);

    DGAMonitorToolManager();
    void addProcessObserver();
    void addObserverByName(const std::string& name, TargetAction action);
    void observe(std::string_view baseName, ManagerAction action);
    static void startReceiveMeetingData();
    static void startCheckingSystemResourceUsage();

    std::shared_ptr<DGADealNotifTargetTool> targetTool_;
};
