#include "DGAMonitor/DGACoreWindowServices.h"

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/Report/DGAReportGenerator.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGASessionTelemetry.h"

std::shared_ptr<DGAReportMaker> DGACoreWindowServices::makeReportMaker() {
    return std::make_shared<DGAReportGenerator>();
}

void DGACoreWindowServices::saveTraceRecord(const DGATraceRecord& record) {
    DGACSVFileTool::saveTraceRecord(record);
}

void DGACoreWindowServices::sendTelemetryAction(DGATelemetryAction action) {
    dgaSendTelemetryAction(DGASessionRecord::sharedRecord(), action);
}
