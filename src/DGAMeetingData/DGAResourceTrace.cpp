#include "DGAMeetingData/DGAResourceTrace.h"

#include <utility>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMeetingData/HealthCheckerSystemInfoGetter.h"

namespace {

constexpr int64_t kKilobytesPerMebibyte = 1024;

void save(const DGAResourceTrace& trace, std::string basicInfo, double dwID, std::string desc,
          int64_t processID) {
    DGACSVFileTool::saveTraceRecord({.moduleType = DGATraceModule::resources,
                                     .levelType = trace.levelType,
                                     .basicInfo = std::move(basicInfo),
                                     .dwID = static_cast<float>(dwID),
                                     .desc = std::move(desc),
                                     .dwValue = trace.sample,
                                     .dwReserved = processID});
}

}  // namespace

void DGAResourceTrace::saveOverall(int64_t ownID) const {
    double cpu = 0.0;
    double memory = 0.0;
    GetOverallCPUUsage(cpu);
    GetOverAllUsedMemory(memory);
    save(*this, "cpu total used", cpu, "", ownID);
    save(*this, "memory total used", memory, "", ownID);
}

void DGAResourceTrace::saveProcess(const std::string& kind, const DGAProcessRecord& process) const {
    const int64_t processID = integerIn(process.processID);
    const int64_t memory = integerIn(process.memoryRate) / kKilobytesPerMebibyte;
    save(*this, kind + "cpu usage", numberIn(process.cpuRate), process.appPath, processID);
    save(*this, kind + "memory usage", static_cast<double>(memory), process.appPath, processID);
}
