#pragma once

#include <memory>

#include "DGAMonitor/Windows/DGAWindowInterfaces.h"

// The upload window lies in a module of its own: what it links to talk to servers would otherwise be loaded
// before the first window is seen. Both sides are of one build.

inline constexpr char kDGAUploadModuleName[] = "libdgaupload";
inline constexpr char kDGAUploadModuleEntry[] = "dgaUploadModuleEntry";

/// Makes the upload window, hidden. Main thread; the toolkit runs.
using DGAUploadModuleEntry = void(std::shared_ptr<DGAUploadWindowInterface>* made);
