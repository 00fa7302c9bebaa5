#include "DGAUpload/ui/UploadTexts.h"

#include <QFontMetrics>
#include <QLocale>
#include <QStringList>
#include <string>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "support/TextTemplate.h"

namespace {

std::string timeText(int64_t seconds) {
    if (seconds >= 90)
        return uploadText(kTextMinutes, {std::to_string((seconds + 30) / 60)}).toStdString();
    // Nobody can tell to the second.
    return uploadText(kTextSeconds, {std::to_string(seconds > 10 ? (seconds + 4) / 5 * 5 : seconds)})
        .toStdString();
}

}  // namespace

QString uploadText(const char* key, std::initializer_list<std::string_view> values) {
    return QString::fromStdString(support::fillPlaceholders(DGAUtilities::dga_localize(key), values));
}

QString uploadTransferText(int64_t sent, int64_t total, int64_t secondsLeft) {
    constexpr int64_t kMegabyte = 1'000'000;
    const int64_t unit = total < kMegabyte ? 1000 : kMegabyte;
    const auto number = [unit](int64_t bytes) {
        const double amount = static_cast<double>(bytes) / static_cast<double>(unit);
        return QLocale().toString(amount, 'f', amount < 10 && unit == kMegabyte ? 1 : 0).toStdString();
    };
    const std::string all =
        uploadText(unit == kMegabyte ? kTextMegabytes : kTextKilobytes, {number(total)}).toStdString();
    return secondsLeft > 0 ? uploadText(kTextUploadedOfTimeLeft, {number(sent), all, timeText(secondsLeft)})
                           : uploadText(kTextUploadedOf, {number(sent), all});
}

QFont uploadFont(int size, bool bold) {
    QFont font = DGAStyle::systemFont(size, bold);
    font.setFamilies(QStringList{QStringLiteral("Lucida Grande")} + font.families());
    return font;
}

QString uploadBreakable(const QString& text, const QFontMetrics& metrics) {
    constexpr int kLabelWidth = 364;
    QStringList words = text.split(QLatin1Char(' '));
    for (QString& word : words) {
        if (metrics.horizontalAdvance(word) > kLabelWidth)
            word = word.split(QString()).join(QChar(0x200b));  // zero width space
    }
    return words.join(QLatin1Char(' '));
}
