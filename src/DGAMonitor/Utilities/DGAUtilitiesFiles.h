#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// The folder of everything the assistant collects: kDGATempStorePath, or the user's own in its place (see
/// platform::storePath).
std::string dgaStorePath();

namespace DGAUtilities {

/// Writes the topic file: the meeting's name in base64, a line feed, and the current local time as
/// "MM/dd/yyyy HH:mm". `path` lies in a private folder; nothing is written if it does not.
void dga_createOrvdgaTopicFileAtPath(const std::string& path, const std::optional<std::string>& confName);

/// Size in bytes; 0 if nothing is there.
int64_t dga_fetchFileSizeAt(const std::string& path);

/// Removes what is at an absolute path, a folder with all it contains; links are never followed.
void dga_removeFileAtPath(const std::string& path);

}  // namespace DGAUtilities
