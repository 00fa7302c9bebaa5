#pragma once

#include "DGAMeetingData/DGAMeetingData.h"

/// The error codes of the meeting's services, and the delay of one connection. Every setter records a
/// change at once, under the id of its service.
class DGAMeetingDataMeetingService final : public DGAMeetingData {
public:
    void setPollingSessionErrorCode(int32_t code) { set(pollingSessionErrorCode_, 1, code); }
    void setChatSessionErrorCode(int32_t code) { set(chatSessionErrorCode_, 2, code); }
    void setNoteSessionErrorCode(int32_t code) { set(noteSessionErrorCode_, 3, code); }
    void setCcSessionErrorCode(int32_t code) { set(ccSessionErrorCode_, 4, code); }
    void setFileTransformSessionErrorCode(int32_t code) { set(fileTransformSessionErrorCode_, 5, code); }
    void setPdSessionErrorCode(int32_t code) { set(pdSessionErrorCode_, 6, code); }
    void setVideoSessionErrorCode(int32_t code) { set(videoSessionErrorCode_, 7, code); }
    void setAsSessionErrorCode(int32_t code) { set(asSessionErrorCode_, 8, code); }
    void setAudioSessionErrorCode(int32_t code) { set(audioSessionErrorCode_, 9, code); }
    void setNbrSessionErrorCode(int32_t code) { set(nbrSessionErrorCode_, 10, code); }
    void setCbConnectionErrorCode(int32_t code) { set(cbConnectionErrorCode_, 35, code); }
    void setMmpConnectionErrorCode(int32_t code) { set(mmpConnectionErrorCode_, 36, code); }
    void setCbConnectionDelay(int32_t delay) { set(cbConnectionDelay_, 37, delay); }

private:
    static void set(int32_t& field, int32_t id, int32_t value);

    int32_t cbConnectionErrorCode_ = 0;
    int32_t cbConnectionDelay_ = 0;
    int32_t mmpConnectionErrorCode_ = 0;
    int32_t pdSessionErrorCode_ = 0;
    int32_t chatSessionErrorCode_ = 0;
    int32_t pollingSessionErrorCode_ = 0;
    int32_t ccSessionErrorCode_ = 0;
    int32_t noteSessionErrorCode_ = 0;
    int32_t fileTransformSessionErrorCode_ = 0;
    int32_t nbrSessionErrorCode_ = 0;
    int32_t asSessionErrorCode_ = 0;
    int32_t audioSessionErrorCode_ = 0;
    int32_t videoSessionErrorCode_ = 0;
};
