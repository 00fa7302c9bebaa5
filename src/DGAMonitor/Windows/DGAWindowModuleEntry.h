#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "DGAMonitor/Windows/DGAWindowInterfaces.h"

// How the core enters the module that holds the windows.

inline constexpr char kDGAWindowModuleName[] = "libdgaui";
inline constexpr char kDGAWindowModuleEntry[] = "dgaWindowModuleEntry";

/// Counts up with every change to this file or to DGAWindowInterfaces.h: both are C++, so the two sides have
/// to be of one build.
inline constexpr uint32_t kDGAWindowModuleVersion = 1;

/// What the entry point tells. It lives as long as the process.
struct DGAWindowModule {
    uint32_t version;  ///< read first; nothing else counts if it is another one

    /// Starts the toolkit where it is not running yet and returns the factory; null, with the reason in
    /// `why`, where no window can be shown now. May be asked again. Main thread.
    std::shared_ptr<DGAWindowFactory> (*makeFactory)(std::string& why);
};

/// The entry point has this type and the name of kDGAWindowModuleEntry.
using DGAWindowModuleEntryFunction = const DGAWindowModule*();
