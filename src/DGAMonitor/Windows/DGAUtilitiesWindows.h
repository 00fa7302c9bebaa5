#pragma once

namespace DGAUtilities {

/// Brings the visible windows of the assistant to the front, soon, on the main thread. Any thread.
void dga_bringingAllWindowFront();

/// 3 (floating) for the meeting service, else 0 (normal). Any thread.
int dga_fetchWindowLevel();

}  // namespace DGAUtilities
