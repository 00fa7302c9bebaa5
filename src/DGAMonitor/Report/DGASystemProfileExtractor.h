#pragma once

#include <string>

inline constexpr char sysCommand[] = "/usr/sbin/system_profiler";

/// Writes the system profile with the command-line tool of that name.
class DGASystemProfileExtractor {
public:
    /// Runs the tool at a level of detail ("mini", "basic", "full") with its output into a new or emptied
    /// file, and returns when it has ended. A file in the folder of reports is only written while that
    /// folder is the user's alone; links are never followed. Where the file cannot be opened nothing is run.
    static void generateSystemProfiler(const std::string& path, const std::string& detailLevel);
};
