#include <cstdlib>
#include <string_view>

#include "DGAMonitor/Session/DGASessionParameters.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "support/JsonValue.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    const auto value = support::parseJson({reinterpret_cast<const char*>(bytes), length});
    if (!value)
        return 0;
    if (value->is_object())
        readSessionParameters(*value, DGASessionRecord::sharedRecord());
    if (support::parseJson(support::prettyJson(*value)) != *value)
        std::abort();
    return 0;
}
