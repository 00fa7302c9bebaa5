#pragma once

#include <string>

/// Writes the system profile with the command-line tool system_profiler.
class DGASystemProfileExtractor {
public:
    /// Runs the tool at a level of detail with its output into a file, and returns when it has ended.
    static void generateSystemProfiler(const std::string& path, const std::string& detailLevel);
};
