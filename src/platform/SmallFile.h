#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace platform {

/// The bytes of a regular file of at most `longest` bytes. None for one that is longer, cannot be read or is
/// no regular file; never waits for a pipe's writer. Any thread.
std::optional<std::string> readSmallFile(const std::string& path, size_t longest);

}  // namespace platform
