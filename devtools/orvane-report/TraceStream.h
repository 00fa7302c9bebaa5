#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "Archive.h"
#include "devtools/trace/TraceLine.h"

namespace orvanereport {

struct TraceCount {
    uint64_t records = 0;
    uint64_t badLines = 0;
};

/// Hands on the records of an archive's trace, one after the other, without ever holding more than a piece of
/// it; nothing where the archive has no trace.
TraceCount streamTrace(const Archive& archive, const std::function<void(const tracefile::TraceLine&)>& take);

}  // namespace orvanereport
