#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

/// What a file of a report is; the texts stand in the report's summary.
namespace ReportFileKind {
inline constexpr char kMeetingLog[] = "meetingLog";
inline constexpr char kPluginLog[] = "pluginLog";
inline constexpr char kAppletLog[] = "appletLog";
inline constexpr char kParameters[] = "parameters";
inline constexpr char kAssistantLog[] = "assistantLog";
inline constexpr char kTopic[] = "topic";
inline constexpr char kTrace[] = "trace";
inline constexpr char kCrashReport[] = "crashReport";
inline constexpr char kScreenshot[] = "screenshot";
inline constexpr char kSystemProfile[] = "systemProfile";
inline constexpr char kToolsLog[] = "toolsLog";
inline constexpr char kArchive[] = "archive";
}  // namespace ReportFileKind

/// A file that goes into an archive.
struct ReportFile {
    std::string path;
    std::string name;  ///< in the archive; no other file there has it
    std::string kind;
    uint64_t size = 0;   ///< when it was looked at; once it is packed, what was packed
    std::string sha256;  ///< of these bytes, once it is packed
};

/// A file that should have gone into a report.
struct ReportFileLeftOut {
    std::string name;  ///< without its folder
    std::string reason;
};

/// The files of one archive. Each source passes through add(), which takes only what is the user's own
/// (platform::userFilesAt) and of at most 512 MiB; what is left out is kept with its reason, and logged.
/// One thread at a time.
class ReportSources {
public:
    static constexpr uint64_t kLargestFile = uint64_t{512} * 1024 * 1024;

    /// `reservedName` is kept for a file that joins later.
    explicit ReportSources(const std::string& reservedName = {});

    /// What is at an absolute path: a file, or of a folder all files in it and below it. "" and a path where
    /// nothing is add nothing, nor does a file that is among them already. Of equal names the later becomes
    /// "name-2.ext".
    void add(const std::string& path, const std::string& kind);
    void leaveOut(const std::string& path, const std::string& reason);

    std::vector<ReportFile> files;
    std::vector<ReportFileLeftOut> leftOut;

private:
    std::string freeName(const std::string& name);
    std::set<std::string> names_;
    std::set<std::string> paths_;
};
