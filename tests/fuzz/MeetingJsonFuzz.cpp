#include <string>

#include "DGAMeetingData/DGAMeetingDataManager.h"
#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/DGAMonitorToolManager.h"

// For the desktop tools nothing is written to the trace, so that no disk slows the search down.
extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    DGAMonitorToolManager::shareManager().serviceType = kDGAServiceTypeKT;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    const std::string message(reinterpret_cast<const char*>(bytes), length);
    DGAMeetingDataManager manager;
    manager.parseJson(message);
    manager.parseJson(message);
    return 0;
}
