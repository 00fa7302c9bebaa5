#include "DGAMeetingData/DGAMeetingDataRecordTool.h"

#include "DGAMeetingData/DGACSVFileTool.h"

DGAMeetingDataRecordTool& DGAMeetingDataRecordTool::shareDataRecordTool() {
    static auto* const tool = new DGAMeetingDataRecordTool();
    return *tool;
}

void DGAMeetingDataRecordTool::startRecord() {
    listener_ = std::make_unique<DgaIpcMessageListener>();
    listener_->initWithJsonMessageSink(this);
}

void DGAMeetingDataRecordTool::stopRecord() {
    listener_.reset();
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

DGAMeetingDataManager& DGAMeetingDataRecordTool::recordMrg() {
    if (!recordMrg_)
        recordMrg_ = std::make_unique<DGAMeetingDataManager>();
    return *recordMrg_;
}
