#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/CoredumpRecord.h"
#include "platform/ProcessStat.h"

// What the kernel and the core dump service say about processes, whose names are anybody's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), length);
    if (const auto stat = platform::ProcessStat::parse(text)) {
        if (!stat->name.empty() && (stat->name.data() < text.data() ||
                                    stat->name.data() + stat->name.size() > text.data() + text.size()))
            std::abort();
    }
    if (const auto record = platform::CoredumpRecord::parse(text)) {
        if (record->processId.empty() || record->signal.empty() || record->text().empty() ||
            record->fileName("Convexa_", "host").find('/') != std::string::npos)
            std::abort();
    }
    return 0;
}
