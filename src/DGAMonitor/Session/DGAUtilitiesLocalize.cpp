#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>

#include "DGAMonitor/Session/DGASessionRecord.h"
#include "platform/BundleInfo.h"
#include "support/ORVNLogger.h"
#include "support/StringTable.h"

namespace {

constexpr char kDefaultLanguage[] = "English";

/// Whether a name is that of a folder beside the others, whatever its text.
bool isPlainName(std::string_view name) {
    static constexpr size_t kLongest = 32;
    return !name.empty() && name.size() <= kLongest && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
               c == '-';
    });
}

/// The string tables of all languages that were asked for: each is read once and stays.
class Tables {
public:
    /// An empty table where there is none.
    std::shared_ptr<const support::StringTable> of(const std::string& language) {
        const std::lock_guard<std::mutex> hold(mutex_);
        auto& table = tables_[isPlainName(language) ? language : std::string()];
        if (!table)
            table = std::make_shared<const support::StringTable>(load(language));
        return table;
    }

private:
    static support::StringTable load(const std::string& language) {
        if (!isPlainName(language)) {
            logWarning("DGAUtilities::dga_localize,no language has such a name");
            return {};
        }
        const std::string path =
            platform::BundleInfo::resourceFolder() + "/" + language + ".lproj/Localizable.strings";
        auto table = support::StringTable::read(path);
        if (const auto& fault = table.fault())
            logWarning("DGAUtilities::dga_localize,{}:{}: {}", path, fault->line, fault->what);
        return table;
    }

    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<const support::StringTable>> tables_;
};

}  // namespace

std::string DGAUtilities::dga_localize(const std::string& key) {
    static auto* const tables = new Tables;  // never destroyed: other threads may ask until the end
    const std::string language = DGASessionRecord::sharedRecord().language.get().value_or("");
    const auto table = tables->of(language.empty() ? kDefaultLanguage : language);
    const auto* const entry = table->find(key);
    return entry ? entry->value : key;
}
