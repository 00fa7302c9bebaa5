#include "DGAMeetingData/DGAMeetingData.h"

#include <utility>

#include "DGAMeetingData/DGACSVFileTool.h"

namespace {

constexpr int64_t kLevel = 1;
constexpr int64_t kInteraction = 6;

}  // namespace

void DGAMeetingData::saveMeetingData(Values values) {
    auto& [moduleType, levelType, interactionType, basicInfo, dwID, desc, dwValue, lpszReserved, dwReserved,
           timestamp, threadID] = values;
    DGACSVFileTool::saveDGATraceWithModuleType(
        moduleType, levelType, interactionType, std::move(basicInfo), static_cast<float>(dwID),
        std::move(desc), dwValue, std::move(lpszReserved), dwReserved, std::move(timestamp), threadID);
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
