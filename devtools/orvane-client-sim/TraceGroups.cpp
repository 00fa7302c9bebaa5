#include "TraceGroups.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "devtools/trace/Printable.h"
#include "devtools/trace/TraceNames.h"

namespace clientsim {

using tracefile::moduleName;
using tracefile::printable;
using tracefile::Trace;
using tracefile::TraceRecord;

namespace {

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

std::string_view nameOf(const TraceRecord& record) {
    return tracefile::recordName(record.module, record.basicInfo, record.id);
}

}  // namespace

std::string groupedTrace(const Trace& trace) {
    std::vector<std::string> modules;
    size_t widest = 0;
    for (const TraceRecord& record : trace.records) {
        if (std::find(modules.begin(), modules.end(), record.module) == modules.end()) {
            modules.push_back(record.module);
        }
        widest = std::max(widest, nameOf(record).size());
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
                                           printable(nameOf(record)), widest, printable(valueOf(record)));
            line.erase(line.find_last_not_of(' ') + 1);
            text += line + "\n";
        }
    }
    return text;
}

}  // namespace clientsim
