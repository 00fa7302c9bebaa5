#pragma once

#include <string>

#include "devtools/trace/TraceReader.h"

namespace clientsim {

/// A trace as a table with aligned columns, one line per record, for a terminal. Columns that are empty
/// or 0 in all records are left out.
std::string traceTable(const tracefile::Trace& trace);

}  // namespace clientsim
