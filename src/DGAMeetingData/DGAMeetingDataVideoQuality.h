#pragma once

#include "DGAMeetingData/DGAMeetingData.h"

/// The quality of the meeting's video.
class DGAMeetingDataVideoQuality final : public DGAMeetingData {
public:
    void setReceiveQuality(int32_t quality) { change(receiveQuality_, quality); }
    void setSendQuality(int32_t quality) { change(sendQuality_, quality); }
    void setDeviceStatus(int32_t status) { change(deviceStatus_, status); }

    void saveData() override;

private:
    int32_t receiveQuality_ = 0;
    int32_t sendQuality_ = 0;
    int32_t deviceStatus_ = 0;
};
