#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "platform/Task.h"
#include "reportproblem/ReportSources.h"

class DGAReportWorkspace;

/// Packs the archives of one report with zip, which stores the bare names of the files. zip has five minutes
/// for all of them; one that a signal ends within that time is tried once more. Of a failure its exit status
/// and the first lines that it printed go into the log at level 8. The calls return when zip has ended.
class DGAReportPacker {
public:
    using Run = std::function<platform::TaskResult(const platform::Task&)>;

    /// The workspace outlives it.
    DGAReportPacker(const DGAReportWorkspace& workspace, Run run);

    /// Packs all files into "<name>.zip" of the workspace, and sets each one's size and SHA-256 to those of
    /// the bytes that were packed; one that could not be read is left out. Returns why there is no archive,
    /// or "".
    std::string pack(const std::string& name, ReportSources& sources);

    /// Adds a file of the workspace to an archive that pack() has made.
    std::string addFile(const std::string& archiveName, const std::string& fileName);

    /// Ends every zip of this process, and lets no further one start. Waits until they are gone, for a
    /// second at most. Any thread.
    static void endAll();

private:
    using Arguments = std::vector<std::string>;

    std::string runZip(const Arguments& arguments);
    std::vector<Arguments> argumentsFor(const std::string& archive, const ReportSources& sources) const;

    const DGAReportWorkspace& workspace_;
    Run run_;
    std::chrono::steady_clock::time_point end_;
};
