#include "DGAMeetingData/DGAMeetingDataMeetingService.h"

void DGAMeetingDataMeetingService::set(int32_t& field, int32_t id, int32_t value) {
    if (field != value)
        saveValue(DGATraceModule::meetingService, id, value);
    field = value;
}
