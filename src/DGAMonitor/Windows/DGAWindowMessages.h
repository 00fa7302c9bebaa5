#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "DGAMonitor/Const/DGATelemetryActions.h"
#include "DGAMonitor/Const/DGATraceRecord.h"
#include "DGAMonitor/Session/DGAReportMaker.h"
#include "DGAMonitor/Windows/DGAWindowServices.h"

class DGASessionRecord;

// What the assistant and its window program tell each other: frames of platform::FrameChannel, whose id says
// which of the structs below its JSON object is. Both sides are of one build. docs/architecture.md has the
// table.
namespace DGAWindowMessage {

inline constexpr uint32_t kLongest = 4 * 1024 * 1024;  ///< bytes of one message

// From the assistant. Every opening is preceded by the record as it is then.

struct Record {  ///< the session record
    static constexpr int32_t kId = 1;
    std::string fields;  ///< see recordFields()
};
struct Show {  ///< a window is to be seen
    static constexpr int32_t kId = 2;
    int64_t number = 0;  ///< counts up; State::handled answers it
    int32_t window = 0;  ///< a DGAWindowKind
    int32_t level = 0;   ///< of the prompt: 3 floats, 0 does not
    std::string token;   ///< the client's activation token; "" if it gave none
};
struct Close {
    static constexpr int32_t kId = 3;
    int32_t window = 0;
};
struct ToFront {  ///< a visible window before all others
    static constexpr int32_t kId = 4;
    int32_t window = 0;
    bool center = false;  ///< also to the middle of the screen
    std::string token;    ///< as with Show
};
struct ReportMade {  ///< of the maker of that number; or it could not be made
    static constexpr int32_t kId = 5;
    int64_t maker = 0;
    std::string path;           ///< the archive's, without ".zip"
    std::string fault;          ///< why there is none; "" if there is one
    bool lacksPicture = false;  ///< the screen could not be captured
};
struct ReportEnded {  ///< the run has ended, with an archive or without
    static constexpr int32_t kId = 6;
    int64_t maker = 0;
    int64_t run = 0;
};
struct Hide {  ///< no window may be on the screen: a picture is taken; or they may be again
    static constexpr int32_t kId = 7;
    bool hidden = false;
};
struct End {  ///< the program is to end
    static constexpr int32_t kId = 8;
};

struct Post {  ///< a telemetry request; answered with Posted. The members are those of OrvTelemetryRequest
    static constexpr int32_t kId = 10;
    int64_t number = 0;
    std::string url;
    std::vector<std::string> headers;
    std::string body;
    int64_t connectMilliseconds = 0;
    int64_t totalMilliseconds = 0;
};

struct Draft {  ///< what was entered, before the window that it is for
    static constexpr int32_t kId = 11;
    DGAReportDraft draft;
};

struct Contents {  ///< what a report would hold; more than once
    static constexpr int32_t kId = 12;
    int64_t listing = 0;
    DGAReportContents contents;
};
struct KeptReports {  ///< the answer to AskForKept
    static constexpr int32_t kId = 13;
    std::vector<DGAKeptReport> reports;
};

// From the window program.

struct State {  ///< after every change, and when a message of the assistant has been handled
    static constexpr int32_t kId = 101;
    int64_t handled = 0;  ///< the number of the last Show that was handled
    bool prompt = false;  ///< which windows are visible
    bool report = false;
    bool upload = false;
};
struct Answer {  ///< to the prompt: 0 quit and send, 1 wait
    static constexpr int32_t kId = 102;
    int32_t index = 1;
};
struct MakeReport {
    static constexpr int32_t kId = 103;
    int64_t maker = 0;
    int64_t run = 0;
    DGAReportOptions options;
};
struct DropMaker {  ///< nobody waits for its reports any more
    static constexpr int32_t kId = 104;
    int64_t maker = 0;
};
struct TraceRecord {
    static constexpr int32_t kId = 105;
    DGATraceRecord record;
};
struct TelemetryAction {
    static constexpr int32_t kId = 106;
    DGATelemetryAction action{};
};
struct LogLine {
    static constexpr int32_t kId = 107;
    std::string module;
    int32_t level = 0;  ///< a platform::LogLevel
    std::string text;
};
struct Upload {  ///< what becomes of the archive that is being sent
    static constexpr int32_t kId = 108;
    DGAUploadState upload;
};
struct Hidden {  ///< no window is on the screen, or they are again
    static constexpr int32_t kId = 109;
    bool hidden = false;
};

struct Idle {  ///< no window has been visible for a while; answered with End where none is on its way
    static constexpr int32_t kId = 110;
};

struct Posted {  ///< the members are those of OrvTelemetryAnswer
    static constexpr int32_t kId = 111;
    int64_t number = 0;
    bool mayHaveArrived = false;
    int64_t status = 0;
    int64_t retryAfter = 0;
    std::string fault;
};

struct DraftChanged {  ///< what has been entered
    static constexpr int32_t kId = 112;
    DGAReportDraft draft;
};

struct ListContents {  ///< what a report with these options would hold
    static constexpr int32_t kId = 113;
    int64_t listing = 0;
    DGAReportOptions options;
};
struct RetakePicture {  ///< of a listing
    static constexpr int32_t kId = 114;
    int64_t listing = 0;
};
struct DropContents {  ///< nobody will pack that listing
    static constexpr int32_t kId = 115;
    int64_t listing = 0;
};
struct AskForKept {  ///< which reports are kept
    static constexpr int32_t kId = 116;
};
struct DiscardKept {
    static constexpr int32_t kId = 117;
    std::string number;
};

/// The message's JSON text.
template <typename Message>
std::string write(const Message& message);

/// None if the text is not of that message: no JSON object, or a member of another kind. Missing members have
/// their default values.
template <typename Message>
std::optional<Message> read(std::string_view text);

/// The record's fields that windows read, as the text of a JSON object, and back.
std::string recordFields(const DGASessionRecord& record);
void setRecordFields(DGASessionRecord& record, const std::string& fields);

}  // namespace DGAWindowMessage

/// The windows of which there is one each.
enum class DGAWindowKind : int32_t { prompt = 1, report = 2, upload = 3 };
