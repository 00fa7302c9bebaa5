#include "DGAMonitor/Report/DGAReportSummary.h"

#include <fmt/format.h>

#include <cstdlib>
#include <ctime>
#include <nlohmann/json.hpp>
#include <utility>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Utilities/DGAUtilitiesProgram.h"
#include "platform/HostStatistics.h"
#include "support/DatePattern.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr char kAssistantName[] = "orvanedga";

const char* nameOf(DGASessionEventKind kind) {
    switch (kind) {
        case DGASessionEventKind::freeze:
            return "freeze";
        case DGASessionEventKind::wait:
            return "wait";
        case DGASessionEventKind::quit:
            return "quit";
        case DGASessionEventKind::crash:
            return "crash";
        case DGASessionEventKind::goodbye:
            return "goodbye";
        case DGASessionEventKind::upload:
            return "upload";
    }
    return "";
}

Json listOf(const std::vector<ReportFile>& files) {
    Json list = Json::array();
    for (const auto& file : files)
        list.push_back(
            {{"name", file.name}, {"kind", file.kind}, {"size", file.size}, {"sha256", file.sha256}});
    return list;
}

Json listOf(const std::vector<ReportFileLeftOut>& leftOut) {
    Json list = Json::array();
    for (const auto& file : leftOut)
        list.push_back({{"name", file.name}, {"reason", file.reason}});
    return list;
}

Json listOf(const std::vector<DGASessionEvent>& events) {
    Json list = Json::array();
    for (const auto& event : events)
        list.push_back({{"time", dgaTimeWithOffset(event.time)},
                        {"kind", nameOf(event.kind)},
                        {"detail", event.detail}});
    return list;
}

// What is forbidden or narrowed; the other keys say nothing.
Json listOf(const DGAPolicy& policy) {
    Json list = Json::array();
    for (const auto& rule : policy.rules()) {
        if (!rule.isDefault)
            list.push_back({{"key", fmt::format("[{}] {}", rule.group, rule.name)}, {"value", rule.value}});
    }
    return list;
}

Json listOf(const std::vector<platform::CoredumpModule>& modules) {
    Json list = Json::array();
    for (const auto& module : modules) {
        Json& listed = list.emplace_back(Json{{"name", module.name.substr(module.name.rfind('/') + 1)}});
        if (!module.buildId.empty())
            listed["buildId"] = module.buildId;
        if (!module.version.empty())
            listed["version"] = module.version;
    }
    return list;
}

}  // namespace

std::string dgaTimeWithOffset(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm local{};
    localtime_r(&seconds, &local);
    const long minutes = std::labs(local.tm_gmtoff) / 60;
    return support::formatDate(time, "yyyy-MM-dd") + "T" + support::formatDate(time, "HH:mm:ss") +
           fmt::format("{}{:02}:{:02}", local.tm_gmtoff < 0 ? '-' : '+', minutes / 60, minutes % 60);
}

std::string DGAReportSummary::json(const DGASessionRecord& record) const {
    const bool isTools = options.serviceType == kDGAServiceTypeKT;
    Json summary = {
        {"formatVersion", kFormatVersion},
        {"number", number},
        {"assistant", {{"name", kAssistantName}, {"version", DGAUtilities::dga_fetchAppVersion()}}},
        {"client",
         {{"version", record.clientVersion.get().value_or("")}, {"service", isTools ? "KT" : "HV"}}},
        {"started", dgaTimeWithOffset(record.started)},
        {"packed", dgaTimeWithOffset(packed)},
        {"description", options.description},
        {"requested",
         {{"screenshot", options.screenShot},
          {"systemInfo", options.systemInfo},
          {"crashLog", options.crashLog}}},
        {"files", listOf(files)},
        {"leftOut", listOf(leftOut)},
        {"events", listOf(record.events.all())},
        {"memoryAvailable", platform::readAvailableMemory().value_or(0)}};
    if (options.category)
        summary["category"] = {{"number", options.category->number}, {"name", options.category->name}};
    if (!modules.empty())
        summary["modules"] = listOf(modules);
    if (Json rules = listOf(policy); !rules.empty())
        summary["policy"] = std::move(rules);
    return summary.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}
