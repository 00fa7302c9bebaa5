#include "DGAMonitor/DGAKeptReportNotice.h"

#include <algorithm>
#include <utility>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Report/DGAKeptReports.h"
#include "DGAMonitor/Session/DGAPolicy.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"
#include "platform/DesktopNotifier.h"
#include "platform/RunLoop.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"
#include "support/TextTemplate.h"

namespace {

constexpr char kIcon[] = "orvanedga";
constexpr char kSend[] = "send";
constexpr char kDiscard[] = "discard";

// "2024-03-15T14:30:25+01:00" -> "2024-03-15 14:30"
std::string shortTime(std::string time) {
    std::replace(time.begin(), time.end(), 'T', ' ');
    return time.substr(0, 16);
}

}  // namespace

DGAKeptReportNotice::DGAKeptReportNotice(Send send) : send_(std::make_shared<Send>(std::move(send))) {}

DGAKeptReportNotice::~DGAKeptReportNotice() = default;

void DGAKeptReportNotice::offer() {
    const DGASessionRecord& record = DGASessionRecord::sharedRecord();
    if (std::exchange(offered_, true) || !DGAKeptReports().hasAny())
        return;
    const bool maySend =
        record.enableSendReport && DGAPolicy::current().allowsSendingTo(record.uploadURL.get().value_or(""));
    DGAKeptReports::queue().async([this, maySend, alive = std::weak_ptr(send_)] {
        const DGAKeptReports kept;
        kept.tidy();
        if (!maySend)
            return;
        auto reports = kept.reports();
        std::erase_if(reports, [](const DGAKeptReports::Report& report) { return report.announced; });
        if (reports.empty())
            return;
        const auto& newest = reports.back();
        kept.markAnnounced(newest.number);
        platform::performOnMain([this, alive, number = newest.number, time = newest.time] {
            if (!alive.expired())
                show(number, time);
        });
    });
}

void DGAKeptReportNotice::show(const std::string& number, const std::string& time) {
    using DGAUtilities::dga_localize;
    logInfo("DGAKeptReportNotice::show,{}", number);
    notifier_ = std::make_unique<platform::DesktopNotifier>();
    notifier_->show(
        {.title = dga_localize(lDGARPWindowTitleStr),
         .text = support::fillPlaceholders(dga_localize(kTextReportNotSent), {shortTime(time)}),
         .icon = kIcon,
         .buttons = {{kSend, dga_localize(kTextSend) + "…"}, {kDiscard, dga_localize(kTextDiscard)}}},
        [number, alive = std::weak_ptr(send_)](const std::string& key) {
            logInfo("DGAKeptReportNotice,{} {}", number, key);
            const auto send = alive.lock();
            if (key == kDiscard)
                DGAKeptReports::queue().async([number] { DGAKeptReports().discard(number); });
            else if (send)
                (*send)(number);
        });
}
