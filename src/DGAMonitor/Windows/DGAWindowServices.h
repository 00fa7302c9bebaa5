#pragma once

#include <memory>

#include "DGAMonitor/Const/DGATelemetryActions.h"
#include "DGAMonitor/Const/DGATraceRecord.h"
#include "DGAMonitor/Session/DGAReportMaker.h"

/// What the windows ask of the rest of the assistant. Main thread.
class DGAWindowServices {
public:
    virtual ~DGAWindowServices() = default;
    virtual std::shared_ptr<DGAReportMaker> makeReportMaker() = 0;
    virtual void saveTraceRecord(const DGATraceRecord& record) = 0;
    virtual void sendTelemetryAction(DGATelemetryAction action) = 0;
};
