#pragma once

#include <optional>
#include <string>

namespace platform {

/// The answer to "kern.osrelease": not the running kernel's number but, in that numbering, the system whose
/// proxy support HttpReadStream has. From 14 on a stream takes a proxy of its own for each request. At most
/// 255 characters; none when it cannot be read. Any thread.
std::optional<std::string> kernelRelease();

}  // namespace platform
