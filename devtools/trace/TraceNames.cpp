#include "devtools/trace/TraceNames.h"

#include <algorithm>
#include <charconv>

namespace tracefile {

namespace {

// The number before a decimal point; -1 where there is none.
int64_t wholeNumber(std::string_view text) {
    int64_t number = -1;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace

std::string_view moduleName(std::string_view module) {
    const int64_t number = wholeNumber(module);
    const auto* const found = std::find_if(
        kDGATraceModuleNames.begin(), kDGATraceModuleNames.end(),
        [&](const DGATraceModuleName& row) { return static_cast<int64_t>(row.module) == number; });
    return found == kDGATraceModuleNames.end() ? module : found->name;
}

std::string_view recordName(std::string_view module, std::string_view basicInfo, std::string_view id) {
    if (!basicInfo.empty()) {
        return basicInfo;
    }
    const int64_t number = wholeNumber(module);
    const int64_t meant = wholeNumber(id);
    const auto* const found =
        std::find_if(kTraceMeanings.begin(), kTraceMeanings.end(), [&](const TraceMeaning& meaning) {
            return static_cast<int64_t>(meaning.module) == number && meaning.id == meant;
        });
    return found == kTraceMeanings.end() ? id : found->name;
}

}  // namespace tracefile
