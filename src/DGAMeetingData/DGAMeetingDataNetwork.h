#pragma once

#include "DGAMeetingData/DGAMeetingData.h"

/// The state of the network. A change is recorded at once, with the new state as the record's id.
class DGAMeetingDataNetwork final : public DGAMeetingData {
public:
    int32_t networkStatus() const { return networkStatus_; }
    void setNetworkStatus(int32_t networkStatus);

private:
    int32_t networkStatus_ = 0;
};
