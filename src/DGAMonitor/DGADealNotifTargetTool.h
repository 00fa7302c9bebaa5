#pragma once

namespace platform {
struct Notification;
}

/// Answers the client's heartbeat, report and quit notifications. Main thread.
class DGADealNotifTargetTool {
public:
    DGADealNotifTargetTool();
    ~DGADealNotifTargetTool();
    DGADealNotifTargetTool(const DGADealNotifTargetTool&) = delete;
    DGADealNotifTargetTool& operator=(const DGADealNotifTargetTool&) = delete;

    /// ORVANE_DGA_KEEP_ALIVE.
    void dealHeartBeatFromClient(const platform::Notification& notification);

    /// ORVANE_DGA_GENERATE_REPORT.
    void dealGenerateReportFromClient(const platform::Notification& notification);

    /// As a report request of the client.
    void showReportWindow();

    /// ORVANE_DGA_APP_EXIT; only the first one of the process counts.
    void dealNormalQuitFromClient(const platform::Notification& notification);

private:
    bool quitSeen_ = false;
};
