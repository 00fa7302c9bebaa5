#include "DGAMeetingData/DGAMeetingDataRecordTool.h"

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Const/DGAConst.h"

DGAMeetingDataRecordTool& DGAMeetingDataRecordTool::shareDataRecordTool() {
    static auto* const tool = new DGAMeetingDataRecordTool();
    return *tool;
}

void DGAMeetingDataRecordTool::startRecord(const std::string& ready) {
    listener_ = std::make_unique<DgaIpcMessageListener>();
    listener_->setGreeting(kDGAPortReadyID, ready);
    listener_->initWithJsonMessageSink(this);
}

void DGAMeetingDataRecordTool::stopRecord() {
    listener_.reset();
}

void DGAMeetingDataRecordTool::tellReportResult(const std::string& result) {
    if (listener_)
        listener_->tell(kDGAPortReportResultID, result);
}

void DGAMeetingDataRecordTool::onMessageWithJsonData(const std::optional<std::string>& jsonData) {
    if (!jsonData || jsonData->empty())
        return;
    recordMrg().parseJson(*jsonData);
    if (!listener_ || DGACSVFileTool::hasRoom())
        return;
    listener_->setHeld(true);
    DGACSVFileTool::whenRoom([this] {
        if (listener_)
            listener_->setHeld(false);
    });
}

bool DGAMeetingDataRecordTool::onNotification(int32_t messageID, const std::optional<std::string>& text) {
    const int64_t number = int64_t{messageID} - kDGAFirstPortNotificationID;
    if (number < 0 || number >= std::ssize(kDGAPortNotifications) || !notificationHandler_)
        return false;
    notificationHandler_(kDGAPortNotifications.at(static_cast<size_t>(number)), text);
    return true;
}

DGAMeetingDataManager& DGAMeetingDataRecordTool::recordMrg() {
    if (!recordMrg_)
        recordMrg_ = std::make_unique<DGAMeetingDataManager>();
    return *recordMrg_;
}
