#pragma once

#include <string>

#include "TraceReader.h"

namespace clientsim {

/// A trace as a table with aligned columns, one line per record, for a terminal. Columns that are empty
/// or 0 in all records are left out.
std::string traceTable(const Trace& trace);

/// Text from a file, safe for a terminal: control characters and broken UTF-8 become "?".
std::string printable(const std::string& text);

}  // namespace clientsim
