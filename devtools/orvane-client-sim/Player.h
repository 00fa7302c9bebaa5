#pragma once

#include "Options.h"
#include "PlayerReport.h"
#include "Scenario.h"

namespace clientsim {

/// Plays the client in the calling process, which must be one of its own: it may kill itself.
/// Returns when the scenario is over, or cannot go on.
void play(const Scenario& scenario, const Options& options, const PlayerReporter& reporter);

}  // namespace clientsim
