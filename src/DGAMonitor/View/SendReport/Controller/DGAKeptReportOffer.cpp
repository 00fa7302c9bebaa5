#include "DGAMonitor/View/SendReport/Controller/DGAKeptReportOffer.h"

#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>
#include <algorithm>
#include <utility>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/View/DGAMessage.h"
#include "DGAMonitor/View/DGAText.h"
#include "DGAMonitor/View/SendReport/View/DGANoticeLine.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "support/TextTemplate.h"

namespace {

DGAWindowServices& services() {
    return DGAApplicationWindows::sharedWindows().services();
}

// Day, month and year as the language puts them, without the day of the week.
QString timeText(const std::string& time) {
    const QDateTime local = QDateTime::fromString(QString::fromStdString(time), Qt::ISODate).toLocalTime();
    const QLocale locale;
    QString format = QStringLiteral("d MMMM yyyy");
    if (locale.language() != QLocale::English) {
        static const QRegularExpression weekday(QStringLiteral("^dddd[, ]*|[, ]*dddd$"));
        format = locale.dateFormat(QLocale::LongFormat).remove(weekday);
    }
    return locale.toString(local.date(), format) + QLatin1Char(' ') + local.toString(QStringLiteral("HH:mm"));
}

QString offerText(const DGAKeptReport& report) {
    return QString::fromStdString(support::fillPlaceholders(DGAUtilities::dga_localize(kTextReportNotSent),
                                                            {timeText(report.time).toStdString()}));
}

}  // namespace

void DGAKeptReportOffer::refresh(DGANoticeLine& line, Way way) {
    line_ = &line;
    way_ = std::move(way);
    line_->clear();
    services().keptReports([this, alive = std::weak_ptr(alive_)](const std::vector<DGAKeptReport>& reports) {
        if (alive.expired())
            return;
        reports_.assign(reports.rbegin(), reports.rend());
        const auto first =
            std::find_if(reports_.begin(), reports_.end(),
                         [this](const DGAKeptReport& report) { return report.number == way_.first; });
        offered_ = first == reports_.end() ? 0 : static_cast<size_t>(first - reports_.begin());
        offer();
    });
}

void DGAKeptReportOffer::offer() {
    if (reports_.empty()) {
        line_->clear();
        return;
    }
    const auto handOn = [this] {
        const DGAKeptReport report = reports_[offered_];
        if (way_.handOn(report))
            end(report.number);
    };
    std::vector<DGANoticeLine::Action> actions{
        {.title = dgaText(way_.title), .act = handOn, .isForbidden = !way_.isAllowed},
        {.title = dgaText(kTextDiscard), .act = [this] { discard(); }}};
    if (reports_.size() > 1) {
        const auto& following = reports_[(offered_ + 1) % reports_.size()];
        actions.push_back({.title = QStringLiteral("%1/%2 ›").arg(offered_ + 1).arg(reports_.size()),
                           .act = [this] { next(); },
                           .description = offerText(following)});
    }
    line_->say(offerText(reports_[offered_]), actions);
}

void DGAKeptReportOffer::discard() {
    const std::string number = reports_[offered_].number;
    dgaAsk(line_->window(), dgaText(kTextDiscardReport), dgaText(kTextDiscard), dgaText(lDGACancelStr), line_,
           [this, number, alive = std::weak_ptr(alive_)](bool yes) {
               if (!yes || alive.expired())
                   return;
               services().discardKeptReport(number);
               end(number);
           });
}

void DGAKeptReportOffer::end(const std::string& number) {
    std::erase_if(reports_, [&](const DGAKeptReport& report) { return report.number == number; });
    if (offered_ >= reports_.size())
        offered_ = 0;
    offer();
}

void DGAKeptReportOffer::next() {
    offered_ = (offered_ + 1) % reports_.size();
    offer();
}
