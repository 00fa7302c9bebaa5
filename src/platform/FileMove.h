#pragma once

#include <string>
#include <system_error>

namespace platform {

/// Moves a regular file to another absolute path, also on another file system, in place of a file that is
/// there already (a link at either end is not followed). All or nothing: on failure, of which a line of level
/// 8 tells, `from` is still there and whatever was at `to` is as it was; there is never a part of a file at
/// `to`. A source that cannot be removed after it was copied still counts as moved. Returns when the bytes
/// are on the disk. `why`, if any, is set to what was in the way. Any thread.
bool moveFile(const std::string& from, const std::string& to, std::error_code* why = nullptr);

}  // namespace platform
