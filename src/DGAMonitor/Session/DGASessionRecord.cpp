#include "DGAMonitor/Session/DGASessionRecord.h"

#include <unistd.h>

DGASessionRecord& DGASessionRecord::sharedRecord() {
    static DGASessionRecord* const record = new DGASessionRecord();
    return *record;
}

DGASessionRecord::DGASessionRecord() {
    dga_pID.set(std::to_string(getpid()));
}
