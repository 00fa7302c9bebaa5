#pragma once

#include "DGAMeetingData/DGAMeetingData.h"

/// The quality of the meeting's audio. Nothing is recorded while its type is 0 (none); what changes
/// meanwhile is recorded once there is a type.
class DGAMeetingDataAudioQuality final : public DGAMeetingData {
public:
    void setAudioType(int32_t type) { change(audioType_, type); }
    void setReceiveQuality(int32_t quality) { change(receiveQuality_, quality); }
    void setSendQuality(int32_t quality) { change(sendQuality_, quality); }
    void setDeviceStatus(int32_t status) { change(deviceStatus_, status); }
    void setTelephoneQuality(int32_t quality) { change(telephoneQuality_, quality); }

    void saveData() override;

private:
    int32_t audioType_ = 0;
    int32_t receiveQuality_ = 0;
    int32_t sendQuality_ = 0;
    int32_t deviceStatus_ = 0;
    int32_t telephoneQuality_ = 0;
};
