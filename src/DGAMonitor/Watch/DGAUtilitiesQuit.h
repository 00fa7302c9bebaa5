#pragma once

// The end of the run. Watch thread.
namespace DGAUtilities {

/// Ends the process if the record says that it is ready and no window is visible.
void dga_judgeIfNeedQuit();

/// Removes the system profile from the folder of reports, and what retention does not keep.
void dga_prepareToQuit();

/// Cleans up, removes the run's trace folder and ends the process with status 0, without static
/// destructors. Returns only while the record's `isUT` is set.
void dga_quit();

}  // namespace DGAUtilities
