#pragma once

#include "Options.h"
#include "Scenario.h"

namespace clientsim {

/// Plays a scenario in a child process, watches it and the assistant, and reports on standard output.
/// Returns the program's exit status. Must be called before the process has a second thread.
int run(const Scenario& scenario, const Options& options);

}  // namespace clientsim
