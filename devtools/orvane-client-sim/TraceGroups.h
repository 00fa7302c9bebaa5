#pragma once

#include <string>

#include "TraceReader.h"

namespace clientsim {

/// What a record is about, within its module: its own name, or the meaning of its id; the id itself if that
/// is not known.
std::string recordName(const TraceRecord& record);

/// A trace for a reader who wants to know how each side of the meeting went: a block for every module, in the
/// order in which they first appear, each record as time, name and value.
std::string groupedTrace(const Trace& trace);

}  // namespace clientsim
