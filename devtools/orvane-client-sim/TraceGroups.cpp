#include "TraceGroups.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "TracePrinter.h"

namespace clientsim {
namespace {

struct Meaning {
    std::string_view module;
    std::string_view id;  ///< without a decimal
    std::string_view name;
};

constexpr std::array kMeanings = {
    Meaning{"7", "100", "device status"},
    Meaning{"7", "200", "send quality"},
    Meaning{"7", "300", "receive quality"},
    Meaning{"8", "100", "sharing type"},
    Meaning{"8", "200", "sharing quality"},
    Meaning{"8", "310", "audio send quality"},
    Meaning{"8", "320", "audio receive quality"},
    Meaning{"8", "400", "video send quality"},
    Meaning{"8", "450", "video receive quality"},
    Meaning{"9", "100", "audio type"},
    Meaning{"9", "200", "telephone quality"},
    Meaning{"9", "210", "send quality"},
    Meaning{"9", "220", "receive quality"},
    Meaning{"9", "300", "device status"},
    Meaning{"31", "0", "connected"},
    Meaning{"31", "2", "not connected"},
    Meaning{"32", "1", "polling session error"},
    Meaning{"32", "2", "chat session error"},
    Meaning{"32", "3", "notes session error"},
    Meaning{"32", "4", "closed captions session error"},
    Meaning{"32", "5", "file transfer session error"},
    Meaning{"32", "6", "document sharing session error"},
    Meaning{"32", "7", "video session error"},
    Meaning{"32", "8", "application sharing session error"},
    Meaning{"32", "9", "audio session error"},
    Meaning{"32", "10", "recording session error"},
    Meaning{"32", "35", "connection error (cb)"},
    Meaning{"32", "36", "connection error (mmp)"},
    Meaning{"32", "37", "connection delay (cb)"},
};

std::string_view withoutDecimal(std::string_view id) {
    return id.substr(0, id.find('.'));
}

// The value is in another field for some modules.
std::string valueOf(const TraceRecord& record) {
    if (!record.text.empty() && record.module != "30") {
        return record.text;
    }
    if (record.module == "30") {
        return record.text.empty() ? record.id : record.id + "  " + record.text;
    }
    return record.module == "31" || record.module == "42" || record.module == "40" ? "" : record.value;
}

std::string timeOfDay(const std::string& time) {
    const size_t blank = time.find(' ');
    return blank == std::string::npos ? time : time.substr(blank + 1);
}

}  // namespace

std::string recordName(const TraceRecord& record) {
    if (!record.basicInfo.empty()) {
        return record.basicInfo;
    }
    const std::string_view id = withoutDecimal(record.id);
    const auto* const found = std::find_if(kMeanings.begin(), kMeanings.end(), [&](const Meaning& meaning) {
        return meaning.module == record.module && meaning.id == id;
    });
    return found == kMeanings.end() ? record.id : std::string(found->name);
}

std::string groupedTrace(const Trace& trace) {
    std::vector<std::string> modules;
    size_t widest = 0;
    for (const TraceRecord& record : trace.records) {
        if (std::find(modules.begin(), modules.end(), record.module) == modules.end()) {
            modules.push_back(record.module);
        }
        widest = std::max(widest, recordName(record).size());
    }
    std::string text;
    for (const std::string& module : modules) {
        const auto count = std::count_if(trace.records.begin(), trace.records.end(),
                                         [&](const TraceRecord& record) { return record.module == module; });
        text += fmt::format("{}{} ({})\n", text.empty() ? "" : "\n", printable(moduleName(module)), count);
        for (const TraceRecord& record : trace.records) {
            if (record.module != module) {
                continue;
            }
            std::string line = fmt::format("  {}  {:<{}}  {}", printable(timeOfDay(record.time)),
                                           printable(recordName(record)), widest, printable(valueOf(record)));
            line.erase(line.find_last_not_of(' ') + 1);
            text += line + "\n";
        }
    }
    return text;
}

}  // namespace clientsim
