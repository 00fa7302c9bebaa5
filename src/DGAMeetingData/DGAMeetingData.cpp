#include "DGAMeetingData/DGAMeetingData.h"

#include "DGAMeetingData/DGACSVFileTool.h"

namespace {

constexpr int64_t kLevel = 1;
constexpr int64_t kInteraction = 6;

}  // namespace

void DGAMeetingData::saveMeetingData(const Values& values) {
    const auto& [moduleType, levelType, interactionType, basicInfo, dwID, desc, dwValue, lpszReserved,
                 dwReserved, timestamp, threadID] = values;
    DGACSVFileTool::saveDGATraceWithModuleType(moduleType, levelType, interactionType, basicInfo,
                                               static_cast<float>(dwID), desc, dwValue, lpszReserved,
                                               dwReserved, timestamp, threadID);
}

void DGAMeetingData::saveData() {
    ifChanged_ = false;
}

void DGAMeetingData::change(int32_t& field, int32_t value) {
    if (field != value)
        ifChanged_ = true;
    field = value;
}

void DGAMeetingData::saveValue(Module module, int32_t dwID, int32_t dwValue) {
    saveMeetingData(
        {static_cast<int64_t>(module), kLevel, kInteraction, "", dwID, "", dwValue, "", 0, "", 0});
}
