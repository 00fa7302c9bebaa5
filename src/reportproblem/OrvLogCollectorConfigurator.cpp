#include "reportproblem/OrvLogCollectorConfigurator.h"

std::unique_ptr<OrvLogCollector> OrvLogCollectorConfigurator::orvLogCollector() {
    auto collector = std::make_unique<OrvLogCollector>();
    collector->meetingLogCollector = std::make_unique<MeetingLogCollector>();
    collector->gpcLogCollector = std::make_unique<GpcLogCollector>();
    collector->chromeGpcLogCollector = std::make_unique<ChromeGpcLogCollector>();
    collector->appextLogCollector = std::make_unique<AppextLogCollector>();
    collector->crashLogCollector = std::make_unique<CrashLogCollector>();
    collector->dgaLogCollector = std::make_unique<DGALogCollector>();
    return collector;
}
