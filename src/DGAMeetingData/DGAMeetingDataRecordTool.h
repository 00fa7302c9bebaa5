#pragma once

#include <memory>
#include <optional>
#include <string>

#include "DGAMeetingData/DGAMeetingDataManager.h"
#include "DgaIpcMessageListener/DgaIpcMessageListener.h"

/// Receives the client's meeting data. Main thread.
class DGAMeetingDataRecordTool final : public DgaIpcMessageSink {
public:
    /// The one instance. It lives as long as the process.
    static DGAMeetingDataRecordTool& shareDataRecordTool();

    /// Opens the message port. Once.
    void startRecord();

    /// Closes the message port, so that its socket is gone before the process is.
    void stopRecord();

    /// Takes one message; an absent or empty one is ignored. While more records wait than the trace has room
    /// for, the port takes no further ones.
    void onMessageWithJsonData(const std::optional<std::string>& jsonData) override;

private:
    DGAMeetingDataRecordTool() = default;
    DGAMeetingDataManager& recordMrg();

    std::unique_ptr<DgaIpcMessageListener> listener_;
    std::unique_ptr<DGAMeetingDataManager> recordMrg_;
};
