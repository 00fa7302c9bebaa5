#include "DGAMeetingData/DGAMeetingDataShareQuality.h"

namespace {

// The two types of sharing that have one quality; the others have those of audio and video.
constexpr int32_t kDlc = 1;
constexpr int32_t kH264 = 3;

}  // namespace

void DGAMeetingDataShareQuality::saveData() {
    if (shareType_ == 0 || !ifChanged())
        return;
    saveValue(DGATraceModule::shareQuality, 100, shareType_);
    if (shareType_ == kDlc || shareType_ == kH264) {
        saveValue(DGATraceModule::shareQuality, 200, shareType_ == kDlc ? dlcQuality_ : h264Quality_);
    } else {
        saveValue(DGATraceModule::shareQuality, 320, audioReceiveQuality_);
        saveValue(DGATraceModule::shareQuality, 310, audioSendQuality_);
        saveValue(DGATraceModule::shareQuality, 450, videoReceiveQuality_);
        saveValue(DGATraceModule::shareQuality, 400, videoSendQuality_);
    }
    DGAMeetingData::saveData();
}
