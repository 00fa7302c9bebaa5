#pragma once

#include <cstdint>
#include <string>

/// Turns the client's language number into the name of a string table.
class DGALanguageManager {
public:
    /// The name for a number; "English" for every number that cannot be chosen. Any thread.
    static std::string dga_getActiveLanguageWithLanguageID(int64_t languageID);
};
