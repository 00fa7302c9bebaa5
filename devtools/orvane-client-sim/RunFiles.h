#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

namespace clientsim {

/// What one run of the assistant leaves in its folder in /tmp. The assistant removes the folder when it
/// ends; the files are therefore opened as soon as they appear and stay readable.
class RunFiles {
public:
    /// `root` is the folder of all runs' folders.
    explicit RunFiles(std::string root);
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
    std::string root_;
    int trace_ = -1;
    int topic_ = -1;
};

/// The newest of the assistant's log files in a folder that was written since `start`; empty if none.
std::string newestLog(const std::string& folder, std::chrono::system_clock::time_point start);

}  // namespace clientsim
