#include <string>
#include <vector>

#include "DGAMeetingData/DGAMeetingDataManager.h"
#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Session/DGASessionRecord.h"

// Nothing that slows the search down: for the desktop tools there is no trace, and standard error, where
// the log complains about odd messages, is closed.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    DGASessionRecord::sharedRecord().serviceType = kDGAServiceTypeKT;
    static char quiet[] = "-close_fd_mask=2";
    static std::vector<char*> all(*arguments, *arguments + *count);
    all.insert(all.begin() + 1, quiet);
    *count = static_cast<int>(all.size());
    all.push_back(nullptr);
    *arguments = all.data();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    const std::string message(reinterpret_cast<const char*>(bytes), length);
    DGAMeetingDataManager manager;
    manager.parseJson(message);
    manager.parseJson(message);
    return 0;
}
