#pragma once

#include "Options.h"

namespace uploadserver {

/// Serves until SIGTERM or SIGINT. Returns the exit status; what is wrong has been printed.
int serve(const Options& options);

}  // namespace uploadserver
