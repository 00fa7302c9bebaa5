#include "DGAMeetingData/DGAMeetingData.h"

#include "DGAMeetingData/DGACSVFileTool.h"

namespace {

constexpr int64_t kInteraction = 6;

}  // namespace

void DGAMeetingData::saveMeetingData(const DGATraceRecord& record) {
    DGACSVFileTool::saveTraceRecord(record);
}

void DGAMeetingData::saveData() {
    ifChanged_ = false;
}

void DGAMeetingData::change(int32_t& field, int32_t value) {
    if (field != value)
        ifChanged_ = true;
    field = value;
}

void DGAMeetingData::saveValue(DGATraceModule module, int32_t dwID, int32_t dwValue) {
    saveMeetingData({.moduleType = module,
                     .interactionType = kInteraction,
                     .basicInfo = "",
                     .dwID = static_cast<float>(dwID),
                     .desc = "",
                     .dwValue = dwValue,
                     .lpszReserved = "",
                     .timestamp = ""});
}
