#include "DGAMonitor/Windows/DGAUtilitiesWindows.h"

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "platform/RunLoop.h"
#include "support/ORVNLogger.h"

namespace {

constexpr int kFloatingWindowLevel = 3;
constexpr int kNormalWindowLevel = 0;

}  // namespace

void DGAUtilities::dga_bringingAllWindowFront() {
    ORVN_LOG_METHOD();
    platform::performOnMain([] { DGAApplicationWindows::sharedWindows().bringAllVisibleToFront(); });
}

int DGAUtilities::dga_fetchWindowLevel() {
    return DGASessionRecord::sharedRecord().serviceType == kDGAServiceTypeHV ? kFloatingWindowLevel
                                                                             : kNormalWindowLevel;
}
