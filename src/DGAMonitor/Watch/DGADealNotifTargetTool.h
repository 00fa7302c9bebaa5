#pragma once

#include <memory>

#include "DGAMonitor/Report/DGAReportGenerator.h"
#include "DGAMonitor/Watch/DGAHeartBeatCheckTool.h"

namespace platform {
struct Notification;
}

/// Answers the client's heartbeat, report and quit notifications. Main thread.
class DGADealNotifTargetTool final : public DGAReportGeneratorDelegate {
public:
    /// Starts the watch. The parts have stand-ins only in tests; a null generator means one of its own.
    explicit DGADealNotifTargetTool(DGAHeartBeatCheckTool::Parts watch = {},
                                    std::shared_ptr<DGAReportGenerator> generator = nullptr);
    ~DGADealNotifTargetTool() override;
    DGADealNotifTargetTool(const DGADealNotifTargetTool&) = delete;
    DGADealNotifTargetTool& operator=(const DGADealNotifTargetTool&) = delete;

    /// ORVANE_DGA_KEEP_ALIVE.
    void dealHeartBeatFromClient(const platform::Notification& notification);

    /// ORVANE_DGA_GENERATE_REPORT.
    void dealGenerateReportFromClient(const platform::Notification& notification);

    /// As a report request of the client, with the activation token of the notification, if it has one.
    void showReportWindow(const platform::Notification& notification);

    /// Session parameters came: the client's process is watched from now on.
    void clientIsKnown();

    /// ORVANE_DGA_APP_EXIT; only the first one of the process counts.
    void dealNormalQuitFromClient(const platform::Notification& notification);

    void reportFileGeneratedAt(const std::string& path) override;

private:
    bool quitSeen_ = false;
    DGAHeartBeatCheckTool checkTool_;
    std::shared_ptr<DGAReportGenerator> reportGenerator_;
    // What the generator holds weakly; it ends with this object.
    std::shared_ptr<DGADealNotifTargetTool> self_;
};
