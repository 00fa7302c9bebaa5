#include "DGAMonitor/View/SendReport/Controller/DGAKeptReportOffer.h"

#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>
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

}  // namespace

void DGAKeptReportOffer::refresh(DGANoticeLine& line, const char* title,
                                 std::function<void(const DGAKeptReport&)> handOn) {
    line_ = &line;
    title_ = title;
    handOn_ = std::move(handOn);
    line_->clear();
    services().keptReports([this, alive = std::weak_ptr(alive_)](const std::vector<DGAKeptReport>& reports) {
        if (alive.expired())
            return;
        reports_ = reports;
        offer();
    });
}

void DGAKeptReportOffer::offer() {
    if (reports_.empty()) {
        line_->clear();
        return;
    }
    const auto handOn = [this] {
        const DGAKeptReport report = reports_.back();
        next();
        handOn_(report);
    };
    const std::string text = support::fillPlaceholders(DGAUtilities::dga_localize(kTextReportNotSent),
                                                       {timeText(reports_.back().time).toStdString()});
    line_->say(QString::fromStdString(text),
               {{dgaText(title_), handOn}, {dgaText(kTextDiscard), [this] { discard(); }}});
}

void DGAKeptReportOffer::discard() {
    dgaAsk(line_->window(), dgaText(kTextDiscardReport), dgaText(kTextDiscard), dgaText(lDGACancelStr), line_,
           [this, alive = std::weak_ptr(alive_)](bool yes) {
               if (!yes || alive.expired() || reports_.empty())
                   return;
               services().discardKeptReport(reports_.back().number);
               next();
           });
}

void DGAKeptReportOffer::next() {
    reports_.pop_back();
    offer();
}
