#include "DGAMeetingData/DGAMeetingDataVideoQuality.h"

void DGAMeetingDataVideoQuality::saveData() {
    if (!ifChanged())
        return;
    saveValue(Module::videoQuality, 100, deviceStatus_);
    saveValue(Module::videoQuality, 300, receiveQuality_);
    saveValue(Module::videoQuality, 200, sendQuality_);
    DGAMeetingData::saveData();
}
