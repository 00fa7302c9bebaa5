#include "DGAMeetingData/DGAMeetingDataAudioQuality.h"

namespace {

constexpr int32_t kTelephone = 2;
// Stands in the type record for every type but the telephone.
constexpr int32_t kComputer = 1;

}  // namespace

void DGAMeetingDataAudioQuality::saveData() {
    if (audioType_ == 0 || !ifChanged())
        return;
    if (audioType_ == kTelephone) {
        saveValue(DGATraceModule::audioQuality, 100, kTelephone);
        saveValue(DGATraceModule::audioQuality, 200, telephoneQuality_);
    } else {
        saveValue(DGATraceModule::audioQuality, 100, kComputer);
        saveValue(DGATraceModule::audioQuality, 210, sendQuality_);
        saveValue(DGATraceModule::audioQuality, 220, receiveQuality_);
        saveValue(DGATraceModule::audioQuality, 300, deviceStatus_);
    }
    DGAMeetingData::saveData();
}
