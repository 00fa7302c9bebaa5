#include "DGAMonitor/Utilities/Tool/DGALanguageManager.h"

#include <array>

namespace {

constexpr std::array kLanguages = {"English", "English", "English", "zh_CN",   "zh_TW",   "Japanese", "ko",
                                   "French",  "French",  "German",  "Italian", "Spanish", "es_419",   "sv",
                                   "Dutch",   "pt",      "ru",      "tr",      "da",      "fi",       "pl"};

// The client's numbering ends here; the tables behind it have no number of their own.
constexpr int64_t kLastChoice = static_cast<int64_t>(kLanguages.size()) - 3;

}  // namespace

std::string DGALanguageManager::dga_getActiveLanguageWithLanguageID(int64_t languageID) {
    if (languageID < 0 || languageID > kLastChoice)
        return "English";
    return kLanguages[static_cast<size_t>(languageID)];
}
