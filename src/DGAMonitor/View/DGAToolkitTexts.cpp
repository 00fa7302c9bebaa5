#include "DGAMonitor/View/DGAToolkitTexts.h"

#include <QApplication>
#include <QFont>
#include <QFontInfo>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>
#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "DGAMonitor/Session/DGASessionRecord.h"

namespace {

struct Language {
    const char* folder;
    const char* locale;
};

constexpr std::array<Language, 17> kLanguages{{{"Dutch", "nl_NL"},
                                               {"French", "fr_FR"},
                                               {"German", "de_DE"},
                                               {"Italian", "it_IT"},
                                               {"Japanese", "ja_JP"},
                                               {"Spanish", "es_ES"},
                                               {"da", "da_DK"},
                                               {"es_419", "es_MX"},
                                               {"fi", "fi_FI"},
                                               {"ko", "ko_KR"},
                                               {"pl", "pl_PL"},
                                               {"pt", "pt_BR"},
                                               {"ru", "ru_RU"},
                                               {"sv", "sv_SE"},
                                               {"tr", "tr_TR"},
                                               {"zh_CN", "zh_CN"},
                                               {"zh_TW", "zh_TW"}}};

QLocale localeOf(const std::string& folder) {
    const auto* const found = std::find_if(kLanguages.begin(), kLanguages.end(),
                                           [&folder](const Language& one) { return folder == one.folder; });
    return found != kLanguages.end() ? QLocale(QLatin1String(found->locale)) : QLocale(QLocale::English);
}

// The same character is drawn in different ways in Chinese, Japanese and Korean. The font system goes by the
// desktop's language; where the client's is another one, its own font is asked before others for what the
// desktop's font lacks.
void preferFontOf(const QLocale& locale) {
    const QString name = locale.name();
    const char* const variant = name == QLatin1String("zh_CN")   ? "SC"
                                : name == QLatin1String("zh_TW") ? "TC"
                                : name == QLatin1String("ja_JP") ? "JP"
                                : name == QLatin1String("ko_KR") ? "KR"
                                                                 : nullptr;
    QFont font = QApplication::font();
    QStringList families{QFontInfo(font).family()};
    if (variant && locale.language() != QLocale::system().language())
        families << QStringLiteral("Noto Sans CJK ") + QLatin1String(variant);
    else if (font.families().size() < 2)
        return;
    font.setFamilies(families);
    QApplication::setFont(font);
}

}  // namespace

void dgaUseToolkitTexts() {
    static std::string current = "English";
    static auto* const translator = new QTranslator(qApp);
    const std::string language = DGASessionRecord::sharedRecord().language.get().value_or("");
    if (language == current)
        return;
    current = language;
    const QLocale locale = localeOf(language);
    QLocale::setDefault(locale);
    preferFontOf(locale);
    QApplication::removeTranslator(translator);
    if (locale.language() != QLocale::English &&
        translator->load(locale, QStringLiteral("qtbase"), QStringLiteral("_"),
                         QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(translator);
}
