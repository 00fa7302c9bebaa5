#include "DGAMeetingData/DGASessionTrace.h"

#include <optional>
#include <string>
#include <utility>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "support/Base64.h"
#include "support/ORVNLogger.h"

namespace {

void saveParameter(const char* name, std::optional<std::string> value, float dwID = 0.0F) {
    DGACSVFileTool::saveTraceRecord(
        {.moduleType = DGATraceModule::session, .basicInfo = name, .dwID = dwID, .desc = std::move(value)});
}

// The two parameters that may hold anything the user typed travel as base64 on one line, marked by their id.
void saveEncodedParameter(const char* name, const std::optional<std::string>& value) {
    saveParameter(name, support::base64Encode(value.value_or("")), 1.0F);
}

}  // namespace

void dgaSaveSessionTrace(const DGASessionRecord& record) {
    logInfo("DGAMonitorToolManager::saveMeetingData");
    saveParameter("platform", "Mac");
    saveParameter("service", record.serviceType == kDGAServiceTypeHV ? "HV" : "KT");
    saveParameter("confid", record.confID.get());
    saveEncodedParameter("confname", record.confName.get());
    saveParameter("userid", record.userID.get());
    saveEncodedParameter("username", record.userName.get());
    saveParameter("siteurl", record.siteURL.get());
    saveParameter("trackingid", record.telemetrySessionID.get());
    saveParameter("clientversion", record.clientVersion.get());
    saveParameter("targetpid", record.pID.get());
    saveParameter("dgapid", record.dga_pID.get());
}
