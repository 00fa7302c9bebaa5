#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "devtools/trace/Printable.h"
#include "devtools/trace/TraceLine.h"
#include "devtools/trace/TraceReader.h"

// What is taken apart lies within the line and is all of it, but for the ten commas.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    const std::string_view line(reinterpret_cast<const char*>(bytes), length);
    if (const auto record = tracefile::splitTraceLine(line)) {
        const std::string_view fields[] = {record->module,    record->level,    record->interaction,
                                           record->basicInfo, record->id,       record->text,
                                           record->value,     record->reserved, record->reservedValue,
                                           record->time,      record->thread};
        size_t sum = 10;
        for (const std::string_view field : fields) {
            if (field.data() < line.data() || field.data() + field.size() > line.data() + line.size())
                std::abort();
            sum += field.size();
        }
        if (sum != line.size())
            std::abort();
        tracefile::parseTraceTime(record->time);
    }
    tracefile::parseTraceTime(line);
    tracefile::parseTrace(line);
    if (tracefile::printable(tracefile::printable(line)) != tracefile::printable(line))
        std::abort();
    return 0;
}
