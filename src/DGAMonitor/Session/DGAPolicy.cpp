#include "DGAMonitor/Session/DGAPolicy.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <numeric>
#include <optional>
#include <utility>

#include "platform/BundleInfo.h"
#include "platform/Text.h"
#include "support/ORVNLogger.h"
#include "support/PlainText.h"

namespace {

using platform::AdministratorFile;
using platform::lowerCase;

enum class Kind : uint8_t { allowance, days, hosts, truth };

struct Key {
    DGAPolicyKey key;
    std::string_view group;
    std::string_view name;
    Kind kind = Kind::allowance;
};

// The order is that of DGAPolicyKey.
constexpr std::array kTable = {
    Key{DGAPolicyKey::screenCapture, "Report", "ScreenCapture"},
    Key{DGAPolicyKey::systemProfile, "Report", "SystemProfile"},
    Key{DGAPolicyKey::crashReports, "Report", "CrashReports"},
    Key{DGAPolicyKey::keepDays, "Report", "KeepDays", Kind::days},
    Key{DGAPolicyKey::mail, "Report", "Mail"},
    Key{DGAPolicyKey::save, "Report", "Save"},
    Key{DGAPolicyKey::send, "Upload", "Send"},
    Key{DGAPolicyKey::hosts, "Upload", "Hosts", Kind::hosts},
    Key{DGAPolicyKey::verifyCertificates, "Upload", "VerifyCertificates", Kind::truth},
    Key{DGAPolicyKey::telemetry, "Upload", "Telemetry"},
    Key{DGAPolicyKey::freezePrompt, "Watch", "FreezePrompt"},
};

// So far a name may be from a key's own and still be meant for it.
constexpr size_t kLargestSlip = 2;
constexpr size_t kLongestName = 64;
constexpr int kMostDays = 36500;
constexpr char kNoHosts[] = "(none)";

constexpr std::string_view strictest(Kind kind) {
    switch (kind) {
        case Kind::days:
            return "0";
        case Kind::hosts:
            return "";
        case Kind::truth:
            return "true";
        case Kind::allowance:
            break;
    }
    return "never";
}

constexpr std::string_view loosest(Kind kind) {
    switch (kind) {
        case Kind::truth:
            return "false";
        case Kind::allowance:
            return "allow";
        default:
            return "";
    }
}

std::optional<int> daysIn(std::string_view text) {
    int days = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), days);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && days >= 0 && days <= kMostDays ? std::optional(days) : std::nullopt;
}

bool isValue(Kind kind, std::string_view value) {
    if (kind == Kind::days)
        return daysIn(value).has_value();
    return kind == Kind::hosts || value == loosest(kind) || value == strictest(kind);
}

// Levenshtein's distance, of short names.
size_t slipsBetween(std::string_view a, std::string_view b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t corner = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t changed = corner + (a[i - 1] == b[j - 1] ? 0 : 1);
            corner = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, changed}));
        }
    }
    return row.back();
}

bool isNearly(std::string_view text, std::string_view name) {
    return text.size() <= kLongestName && slipsBetween(lowerCase(text), lowerCase(name)) <= kLargestSlip;
}

const Key* keyNamed(const AdministratorFile::Entry& entry) {
    const auto* const found = std::find_if(kTable.begin(), kTable.end(), [&](const Key& key) {
        return key.group == entry.group && key.name == entry.key;
    });
    return found == kTable.end() ? nullptr : found;
}

// A key that stands in another group counts as meant, too.
const Key* keyMeant(const AdministratorFile::Entry& entry) {
    const auto* const found = std::find_if(kTable.begin(), kTable.end(),
                                           [&](const Key& key) { return isNearly(entry.key, key.name); });
    return found == kTable.end() ? nullptr : found;
}

std::string shown(std::string_view text) {
    return support::onOneLine(std::string(text.substr(0, kLongestName)));
}

// "name", "*.name" or an address; "" if it is none of them.
std::string hostPattern(std::string_view text) {
    const std::string pattern = lowerCase(platform::trimmed(text));
    const std::string_view name = std::string_view(pattern).substr(pattern.starts_with("*.") ? 2 : 0);
    const bool plain =
        name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-.:_") == std::string::npos;
    return plain && !name.empty() ? pattern : std::string();
}

bool matches(std::string_view host, std::string_view pattern) {
    if (!pattern.starts_with('*'))
        return host == pattern;
    return host.size() > pattern.size() - 1 && host.ends_with(pattern.substr(1));
}

}  // namespace

std::string DGAPolicy::currentFile() {
    return platform::BundleInfo::policyFile();
}

DGAPolicy DGAPolicy::current() {
    const std::string path = currentFile();
    DGAPolicy policy(AdministratorFile::read(path));
    for (const auto& fault : policy.faults_)
        logWarning("the policy {}: {}", path, fault);
    return policy;
}

DGAPolicy::DGAPolicy(const AdministratorFile& file) {
    if (file.state == AdministratorFile::State::ignored)
        faults_.push_back("it is ignored: " + file.fault);
    if (file.state == AdministratorFile::State::unreadable) {
        faults_.push_back(shown(file.fault) + ": everything is forbidden that a policy can forbid");
        limitsHosts_ = true;
        for (const auto& key : kTable)
            values_.at(static_cast<size_t>(key.key)) = strictest(key.kind);
    }
    std::set<DGAPolicyKey> faulty;
    for (const auto& entry : file.entries)
        readEntry(entry, faulty);
}

void DGAPolicy::readEntry(const AdministratorFile::Entry& entry, std::set<DGAPolicyKey>& faulty) {
    const std::string name = fmt::format("[{}] {}", shown(entry.group), shown(entry.key));
    const Key* const exact = keyNamed(entry);
    const Key* const key = exact ? exact : keyMeant(entry);
    if (!key) {
        faults_.push_back(name + " is no key of a policy: it forbids nothing");
        return;
    }
    std::string fault;
    if (!exact)
        fault = fmt::format("{} is no key; [{}] {} may be meant", name, key->group, key->name);
    else if (entry.repeated)
        fault = name + " stands there more than once";
    else if (!isValue(key->kind, entry.value))
        fault = fmt::format("{} cannot be \"{}\"", name, shown(entry.value));
    // What is wrong once is not put right by another line.
    if (fault.empty() && faulty.contains(key->key))
        return;
    auto& value = values_.at(static_cast<size_t>(key->key));
    value = fault.empty() ? entry.value : std::string(strictest(key->kind));
    limitsHosts_ = limitsHosts_ || key->kind == Kind::hosts;
    if (!fault.empty()) {
        faulty.insert(key->key);
        if (key->kind == Kind::hosts)
            hosts_.clear();
        faults_.push_back(fmt::format("{}: {}={} is taken", fault, key->name,
                                      value.empty() ? std::string_view(kNoHosts) : std::string_view(value)));
    } else if (key->kind == Kind::hosts) {
        readHosts(value);
    }
}

void DGAPolicy::readHosts(const std::string& value) {
    for (size_t at = 0; at <= value.size();) {
        const size_t end = std::min(value.find(';', at), value.size());
        const std::string_view text = platform::trimmed(std::string_view(value).substr(at, end - at));
        if (const auto pattern = hostPattern(text); !pattern.empty())
            hosts_.push_back(pattern);
        else if (!text.empty())
            faults_.push_back(
                fmt::format("[Upload] Hosts: \"{}\" is no host: none is allowed by it", shown(text)));
        at = end + 1;
    }
}

std::chrono::hours DGAPolicy::keeps(std::chrono::hours longest) const {
    const auto days = daysIn(text(DGAPolicyKey::keepDays));
    return days ? std::min(longest, std::chrono::hours(24) * *days) : longest;
}

bool DGAPolicy::allowsHost(std::string_view host) const {
    const std::string name = lowerCase(host);
    return !limitsHosts_ || std::any_of(hosts_.begin(), hosts_.end(),
                                        [&](const std::string& pattern) { return matches(name, pattern); });
}

bool DGAPolicy::allowsSendingTo(const std::string& address) const {
    return allows(DGAPolicyKey::send) && allowsHost(platform::hostOf(address));
}

std::vector<DGAPolicy::Rule> DGAPolicy::rules() const {
    std::vector<Rule> rules;
    for (const auto& key : kTable) {
        const std::string& set = text(key.key);
        const bool isHosts = key.kind == Kind::hosts;
        const bool isDefault = isHosts ? !limitsHosts_ : set.empty() || set == loosest(key.kind);
        rules.push_back({std::string(key.group), std::string(key.name),
                         set.empty() ? std::string(loosest(key.kind)) : set, isDefault});
    }
    return rules;
}
