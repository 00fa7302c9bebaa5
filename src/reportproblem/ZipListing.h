#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct ZipEntry {
    std::string name;
    uint64_t size = 0;  ///< unpacked
};

/// What the directory of an archive lists, in its order (APPNOTE.TXT, 4.3.12 and 4.3.16).
/// None if the file is no whole archive; archives that need the 64-bit extensions count as such. Reads no
/// more than the directory.
std::optional<std::vector<ZipEntry>> listZip(const std::string& path);
