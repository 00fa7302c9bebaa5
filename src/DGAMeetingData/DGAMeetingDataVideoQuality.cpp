#include "DGAMeetingData/DGAMeetingDataVideoQuality.h"

void DGAMeetingDataVideoQuality::saveData() {
    if (!ifChanged())
        return;
    saveValue(DGATraceModule::videoQuality, 100, deviceStatus_);
    saveValue(DGATraceModule::videoQuality, 300, receiveQuality_);
    saveValue(DGATraceModule::videoQuality, 200, sendQuality_);
    DGAMeetingData::saveData();
}
