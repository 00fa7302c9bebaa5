#include "DGAMeetingData/DGAMeetingDataNetwork.h"

void DGAMeetingDataNetwork::setNetworkStatus(int32_t networkStatus) {
    if (networkStatus_ != networkStatus)
        saveValue(DGATraceModule::network, networkStatus, 0);
    networkStatus_ = networkStatus;
}
