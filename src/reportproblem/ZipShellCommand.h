#pragma once

#include <functional>
#include <string>
#include <vector>

inline constexpr char zipCommand[] = "/usr/bin/zip";
inline constexpr char zipFolder[] = "/tmp";
inline constexpr char zipFileName[] = "Log";

/// Packs files into an archive with zip, which stores their bare names and goes into folders.
class ZipShellCommand {
public:
    /// Starts zip and returns at once. `handle`, which may be empty, is called on a thread of its own when
    /// zip has ended: with 1 if it exited, whatever its status, and 2 if a signal ended it. It is not called
    /// if zip cannot be started. Files are added to an archive that is already there.
    void zipFiles(const std::vector<std::string>& files, const std::string& toArchieveWithName,
                  const std::string& inPath, const std::function<void(int reason)>& handle) const;

    /// "<folder>/<name>", with the folder's "~" expanded.
    std::string getTargetZipFilePathWithName(const std::string& name,
                                             const std::string& andTargetDirectory) const;

    /// zip's arguments: the options, the target, and the files with their "~" expanded; empty ones are left
    /// out.
    std::vector<std::string> getZipCommandArgumentsWithFilesToBeCompressed(
        const std::vector<std::string>& files, const std::string& andTargetFilePath) const;

    /// Leaves an older archive as it is, on purpose.
    void removePreviousZipFile(const std::string& path) const;
};
