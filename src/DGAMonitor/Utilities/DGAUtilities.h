#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

/// Helpers without state that many parts share. None reports an error: a failure gives the neutral value
/// that its method names. Any thread, except where a method says otherwise.
class DGAUtilities {
public:
    DGAUtilities() = delete;

    // Notifications

    /// Posts a distributed notification and returns its name. Main thread.
    static std::string dga_postDistributedNotificationWithName(
        const std::string& name, const std::optional<std::string>& object,
        const std::map<std::string, std::string>& userInfo, bool immediately);

    // Texts and identifiers

    /// The text for an English key in the client's language, English before the client has told one; the key
    /// itself where the string table has none or cannot be read. The first call for a language reads its
    /// table, which stays. `%@` and `%d` in a text are for support::fillPlaceholders().
    static std::string dga_localize(const std::string& key);

    /// Without the characters \ / : * ? " < > | and the full stop.
    static std::string dga_stringWithoutForbiddenSymbolFrom(std::string text);

    /// Whether a text has one of the two forms of a tracking id.
    static bool isValidTrackID(const std::optional<std::string>& trackID);

    /// Whether a regular expression, whose dot also matches line breaks, matches anywhere in the text.
    static bool isMatchWithPattern(const std::optional<std::string>& text,
                                   const std::optional<std::string>& patterStr);

    /// A new random UUID: 36 characters, upper-case.
    static std::string createUUID();

    /// Base64 of the UTF-8 text, with CR LF after every 64 characters; "" for none.
    static std::string dga_stringToBase64Str(const std::optional<std::string>& text);

    /// The same of any other value's pretty-printed JSON text.
    template <std::same_as<nlohmann::json> Object>
    static std::string dga_stringToBase64Str(const Object& object) {
        return base64OfJson(object);
    }

    /// The text that base64 says, whatever else stands between its characters; none if it is not whole
    /// or not UTF-8.
    static std::optional<std::string> dga_Base64StrToObj(const std::string& text);

    /// With a line feed before the character at `index`, counted in characters; the text as it is if it
    /// has no such position.
    static std::string dga_addLineBreakForStr(const std::string& text, size_t index);

    // The program

    static std::string dga_fetchBuildVersion();
    static std::string dga_fetchAppVersion();

    /// The version of the operating system as "/usr/bin/sw_vers -productVersion" prints it, with the line
    /// break at its end; "" if that cannot be run. Waits for that tool.
    static std::string dga_fetchOSVersion();

    // Quit and windows

    /// Ends the process if the record says that it is ready and no window is visible.
    static void dga_judgeIfNeedQuit();

    /// Removes the system profile from the folder of reports, and what retention does not keep.
    static void dga_prepareToQuit();

    /// Cleans up, removes the run's trace folder and ends the process with status 0, without static
    /// destructors. Returns only while the record's `isUT` is set.
    static void dga_quit();

    /// Brings the visible windows of the assistant to the front, soon, on the main thread.
    static void dga_bringingAllWindowFront();

    /// 3 (floating) for the meeting service, else 0 (normal).
    static int dga_fetchWindowLevel();

    /// Removes what is at an absolute path, a folder with all it contains; links are never followed.
    static void dga_removeFileAtPath(const std::string& path);

    // Files

    /// Writes the topic file: the meeting's name in base64, a line feed, and the current local time as
    /// "MM/dd/yyyy HH:mm". `path` lies in a private folder; nothing is written if it does not.
    static void dga_createOrvdgaTopicFileAtPath(const std::string& path);

    /// Size in bytes; 0 if nothing is there.
    static int64_t dga_fetchFileSizeAt(const std::string& path);

    // Report retention

    /// Removes from the folder of reports what is neither an archive nor a trace folder, and the oldest where
    /// there are more than 30 archives of a service or more than 5 trace folders.
    static void dga_removeExcessiveLogZip();

    /// Removes the oldest of these entries of the folder of reports, at least one: 5 stay of group 1, the
    /// trace folders, and 25 of every other.
    // NOLINTNEXTLINE(bugprone-reserved-identifier): a given name
    static void dga__removeExcessiveFile(int groupCode, const std::vector<std::string>& fileNameArr);

    // System resources

    /// Appends to the trace what the machine, the client and this program use of CPU and memory now: six
    /// records, with zeros and no name for a process that is gone.
    static void dga_recordCPUMemoryInfo();

private:
    static std::string base64OfJson(const nlohmann::json& object);
};
