#pragma once

#include "DGAMeetingData/DGAMeetingData.h"

/// The quality of content sharing. Nothing is recorded while its type is 0 (none); what changes
/// meanwhile is recorded once there is a type.
class DGAMeetingDataShareQuality final : public DGAMeetingData {
public:
    void setShareType(int32_t type) { change(shareType_, type); }
    void setAudioReceiveQuality(int32_t quality) { change(audioReceiveQuality_, quality); }
    void setAudioSendQuality(int32_t quality) { change(audioSendQuality_, quality); }
    void setVideoReceiveQuality(int32_t quality) { change(videoReceiveQuality_, quality); }
    void setVideoSendQuality(int32_t quality) { change(videoSendQuality_, quality); }
    void setDlcQuality(int32_t quality) { change(dlcQuality_, quality); }
    void setH264Quality(int32_t quality) { change(h264Quality_, quality); }

    void saveData() override;

private:
    int32_t shareType_ = 0;
    int32_t audioReceiveQuality_ = 0;
    int32_t audioSendQuality_ = 0;
    int32_t videoReceiveQuality_ = 0;
    int32_t videoSendQuality_ = 0;
    int32_t dlcQuality_ = 0;
    int32_t h264Quality_ = 0;
};
