#pragma once

namespace DGAUtilities {

/// Appends to the trace what the machine, the client and this program use of CPU and memory now: six
/// records, with zeros and no name for a process that is gone.
void dga_recordCPUMemoryInfo();

}  // namespace DGAUtilities
