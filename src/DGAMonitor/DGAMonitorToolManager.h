#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/DistributedNotificationCenter.h"

class DGADealNotifTargetTool;
class DGAKeptReportNotice;
class DGASessionRecord;
struct DGAReportResult;

/// The spine of the assistant: it subscribes to the client's notifications, tells the client that it is
/// ready, and fills the session record, which everything else reads. Main thread.
class DGAMonitorToolManager {
public:
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
    /// the trace; at once or, while the trace has no room, later, and then the last message only. Anything
    /// but a JSON object under "DgaJsonData" is ignored.
    void dealMessageFromClient(const platform::Notification& notification);

    /// As dgaSetupTelemetry(), with the session record.
    void setupTelemetry();

    /// A notification's full name: the base name, an underscore and this process's id.
    std::string notificationName(std::string_view baseName) const;

    const std::shared_ptr<DGADealNotifTargetTool>& targetTool() const { return targetTool_; }

    DGAMonitorToolManager(const DGAMonitorToolManager&) = delete;
    DGAMonitorToolManager& operator=(const DGAMonitorToolManager&) = delete;

private:
    using TargetAction = void (DGADealNotifTargetTool::*)(const platform::Notification&);
    using Delivery = platform::DistributedNotificationCenter::Delivery;
    using ManagerAction = void (DGAMonitorToolManager::*)(const platform::Notification&);

    DGAMonitorToolManager();
    ~DGAMonitorToolManager();
    void addProcessObserver();
    void addObserverByName(const std::string& name, TargetAction action, Delivery delivery);
    void dealWaitingParameters();
    void readMessage(const platform::Notification& notification);
    void observe(std::string_view baseName, ManagerAction action);
    void addHandler(const std::string& name, std::function<void(const platform::Notification&)> handler,
                    Delivery delivery = Delivery::inOrder);
    void handlePortNotification(std::string_view baseName, const std::optional<std::string>& text);
    void startReceiveMeetingData();
    void tellReportResult(const DGAReportResult& result) const;
    static void startCheckingSystemResourceUsage();

    DGASessionRecord& record_;
    std::unique_ptr<DGAKeptReportNotice> keptNotice_;
    std::shared_ptr<DGADealNotifTargetTool> targetTool_;
    std::optional<platform::Notification> waiting_;  // parameters, while the trace has no room
    bool awaitsRoom_ = false;
    std::atomic<bool> portHeard_{false};  // a client that has come by the port comes that way again
    /// What the bus calls, for the notifications that come over the port.
    std::map<std::string, std::function<void(const platform::Notification&)>> handlers_;
};
