#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace clientsim {

/// Where the assistant may keep a folder of that name: in /tmp, or where that is not the user's alone, in the
/// user's cache folder.
std::vector<std::string> storeFolders(const std::string& name);

/// What one run of the assistant leaves in its folder. The assistant removes the folder when it ends; the
/// files are therefore opened as soon as they appear and stay readable.
class RunFiles {
public:
    /// `roots` are the folders in which the runs' folders may lie. One that is not the user's alone is passed
    /// over.
    explicit RunFiles(std::vector<std::string> roots);
    ~RunFiles();
    RunFiles(const RunFiles&) = delete;
    RunFiles& operator=(const RunFiles&) = delete;

    /// Looks for files of the assistant with that process id, new ones and ones put in the place of
    /// those that are open. To be called every now and then.
    void look(pid_t assistant);

    bool hasTrace() const { return trace_ >= 0; }
    bool hasTopic() const { return topic_ >= 0; }

    /// The whole contents so far; empty without a file.
    std::string trace() const;
    std::string topic() const;

private:
    void lookInto(const std::string& path, pid_t assistant);

    std::vector<std::string> roots_;
    int trace_ = -1;
    int topic_ = -1;
};

/// The newest of the assistant's log files in these folders that was written since `start`; empty if none.
std::string newestLog(const std::vector<std::string>& folders, std::chrono::system_clock::time_point start);

}  // namespace clientsim
