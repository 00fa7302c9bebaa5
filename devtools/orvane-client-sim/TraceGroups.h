#pragma once

#include <string>

#include "devtools/trace/TraceReader.h"

namespace clientsim {

/// A trace for a reader who wants to know how each side of the meeting went: a block for every module, in the
/// order in which they first appear, each record as time, name and value.
std::string groupedTrace(const tracefile::Trace& trace);

}  // namespace clientsim
