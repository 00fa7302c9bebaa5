#include "platform/net/KernelRelease.h"

namespace platform {

std::optional<std::string> kernelRelease() {
    return "14.0.0";
}

}  // namespace platform
