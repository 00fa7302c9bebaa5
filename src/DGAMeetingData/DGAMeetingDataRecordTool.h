#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "DGAMeetingData/DGAMeetingDataManager.h"
#include "DgaIpcMessageListener/DgaIpcMessageListener.h"

/// Receives the client's meeting data. Main thread.
class DGAMeetingDataRecordTool final : public DgaIpcMessageSink {
public:
    /// The one instance. It lives as long as the process.
    static DGAMeetingDataRecordTool& shareDataRecordTool();

    /// Gets a notification's base name and text, as it came over the port.
    using NotificationHandler = std::function<void(std::string_view, const std::optional<std::string>&)>;

    /// Where notifications go that a client without a bus sends over the port. Before startRecord().
    void setNotificationHandler(NotificationHandler handler) { notificationHandler_ = std::move(handler); }

    /// Opens the message port. Once. `ready` is told to clients that send notifications over it, as
    /// kDGAPortReadyID.
    void startRecord(const std::string& ready = {});

    /// Tells those clients what came of a report, as kDGAPortReportResultID.
    void tellReportResult(const std::string& result);

    /// Closes the message port, so that its socket is gone before the process is.
    void stopRecord();

    /// Takes one message; an absent or empty one is ignored. While more records wait than the trace has room
    /// for, the port takes no further ones.
    void onMessageWithJsonData(const std::optional<std::string>& jsonData) override;

    /// Hands one of kDGAPortNotifications on.
    bool onNotification(int32_t messageID, const std::optional<std::string>& text) override;

private:
    DGAMeetingDataRecordTool() = default;
    DGAMeetingDataManager& recordMrg();

    NotificationHandler notificationHandler_;
    std::unique_ptr<DgaIpcMessageListener> listener_;
    std::unique_ptr<DGAMeetingDataManager> recordMrg_;
};
