#include "DGAMeetingData/DGAUtilitiesResources.h"

#include "DGAMeetingData/DGAResourceTrace.h"
#include "DGAMeetingData/DGASystemResourceCheckingManager.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "support/ORVNLogger.h"

namespace {

constexpr int64_t kOneShotLevel = 3;

DGAProcessRecord recordOf(const std::string& processID) {
    const auto& manager = DGASystemResourceCheckingManager::shareCheckingManager();
    return manager.getOrvaneCPUMemoryInfoByPID(processID).value_or(DGAProcessRecord{processID, "", "", ""});
}

}  // namespace

void DGAUtilities::dga_recordCPUMemoryInfo() {
    ORVN_LOG_METHOD();
    const DGASessionRecord& session = DGASessionRecord::sharedRecord();
    const std::string clientID = session.pID.get().value_or("");
    const std::string ownID = session.dga_pID.get().value_or("");
    const DGAResourceTrace trace{kOneShotLevel, 0};
    trace.saveOverall(integerIn(ownID));
    trace.saveProcess("", recordOf(clientID));
    trace.saveProcess("DGA ", recordOf(ownID));
}
