// Writes what the page has to know of the trace as a TypeScript module, from the headers that the command
// reads too. Run by the build.
#include <cstdio>
#include <exception>
#include <nlohmann/json.hpp>

#include "MaskRules.h"
#include "devtools/trace/TraceNames.h"

namespace {

void printTables() {
    using Json = nlohmann::ordered_json;
    Json modules = Json::object();
    for (const DGATraceModuleName& row : kDGATraceModuleNames) {
        modules[std::to_string(static_cast<int64_t>(row.module))] = row.name;
    }
    Json meanings = Json::object();
    for (const tracefile::TraceMeaning& row : tracefile::kTraceMeanings) {
        meanings[std::to_string(static_cast<int64_t>(row.module))][std::to_string(row.id)] = row.name;
    }
    Json rules = Json::array();
    for (const orvanereport::MaskRule& rule : orvanereport::kMaskRules) {
        rules.push_back({rule.kind, rule.pattern});
    }
    Json parameters = Json::object();
    for (const orvanereport::MaskedParameter& parameter : orvanereport::kMaskedParameters) {
        parameters[std::string(parameter.name)] = parameter.kind;
    }
    const auto print = [](const char* name, const char* type, const Json& value) {
        std::printf("export const %s: %s = %s;\n", name, type, value.dump().c_str());
    };
    print("moduleNames", "Record<number, string>", modules);
    print("recordNames", "Record<number, Record<number, string>>", meanings);
    print("maskRules", "[string, string][]", rules);
    print("maskedParameters", "Record<string, string>", parameters);
    print("unmasked", "string[]", Json(orvanereport::kUnmasked));
}

}  // namespace

int main() {
    try {
        printTables();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "report-page-tables: %s\n", error.what());
        return 1;
    }
    return 0;
}
