#include "DGAMonitor/Windows/DGAWindowMessages.h"

#include <array>
#include <nlohmann/json.hpp>
#include <utility>

#include "DGAMonitor/Session/DGASessionRecord.h"
#include "support/JsonValue.h"

using nlohmann::json;

// What the user or the client wrote may be no UTF-8, which JSON cannot hold otherwise.
namespace {

std::string dump(const json& value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

struct TextField {
    const char* name;
    DGASessionRecord::Text DGASessionRecord::*field;
};
constexpr std::array kTextFields = {
    TextField{"dga_pID", &DGASessionRecord::dga_pID},
    TextField{"pID", &DGASessionRecord::pID},
    TextField{"clientVersion", &DGASessionRecord::clientVersion},
    TextField{"confID", &DGASessionRecord::confID},
    TextField{"confName", &DGASessionRecord::confName},
    TextField{"userID", &DGASessionRecord::userID},
    TextField{"userName", &DGASessionRecord::userName},
    TextField{"userEmail", &DGASessionRecord::userEmail},
    TextField{"siteID", &DGASessionRecord::siteID},
    TextField{"siteURL", &DGASessionRecord::siteURL},
    TextField{"meetingKey", &DGASessionRecord::meetingKey},
    TextField{"smac", &DGASessionRecord::smac},
    TextField{"smacTimestap", &DGASessionRecord::smacTimestap},
    TextField{"uploadURL", &DGASessionRecord::uploadURL},
    TextField{"languageID", &DGASessionRecord::languageID},
    TextField{"language", &DGASessionRecord::language},
    TextField{"telemetrySessionID", &DGASessionRecord::telemetrySessionID},
    TextField{"keptReport", &DGASessionRecord::keptReport},
};

}  // namespace

void to_json(json& to, const DGAReportOptions& from) {
    to = {{"screenShot", from.screenShot},   {"systemInfo", from.systemInfo},
          {"crashLog", from.crashLog},       {"serviceType", from.serviceType},
          {"description", from.description}, {"listing", from.listing},
          {"without", from.without},         {"kept", from.kept}};
    if (from.category)
        to["category"] = {{"number", from.category->number}, {"name", from.category->name}};
}
void from_json(const json& from, DGAReportOptions& to) {
    to.screenShot = from.value("screenShot", false);
    to.systemInfo = from.value("systemInfo", false);
    to.crashLog = from.value("crashLog", false);
    to.serviceType = from.value("serviceType", int64_t{0});
    to.description = from.value("description", std::string());
    to.listing = from.value("listing", int64_t{0});
    to.without = from.value("without", std::vector<std::string>());
    to.kept = from.value("kept", std::string());
    if (const auto category = from.find("category"); category != from.end())
        to.category =
            DGAReportCategory{category->value("number", int64_t{0}), category->value("name", std::string())};
}

namespace {

json textOrNull(const DGATraceRecord::Text& text) {
    return text ? json(*text) : json();
}
DGATraceRecord::Text textIn(const json& from, const char* key) {
    const auto found = from.find(key);
    return found == from.end() || found->is_null() ? DGATraceRecord::Text()
                                                   : DGATraceRecord::Text(found->get<std::string>());
}

}  // namespace

void to_json(json& to, const DGATraceRecord& from) {
    to = {{"moduleType", static_cast<int64_t>(from.moduleType)},
          {"levelType", from.levelType},
          {"interactionType", from.interactionType},
          {"basicInfo", textOrNull(from.basicInfo)},
          {"dwID", from.dwID},
          {"desc", textOrNull(from.desc)},
          {"dwValue", from.dwValue},
          {"lpszReserved", textOrNull(from.lpszReserved)},
          {"dwReserved", from.dwReserved},
          {"timestamp", textOrNull(from.timestamp)},
          {"threadID", from.threadID}};
}
void from_json(const json& from, DGATraceRecord& to) {
    to.moduleType = static_cast<DGATraceModule>(from.at("moduleType").get<int64_t>());
    to.levelType = from.value("levelType", to.levelType);
    to.interactionType = from.value("interactionType", to.interactionType);
    to.basicInfo = textIn(from, "basicInfo");
    to.dwID = from.value("dwID", to.dwID);
    to.desc = textIn(from, "desc");
    to.dwValue = from.value("dwValue", to.dwValue);
    to.lpszReserved = textIn(from, "lpszReserved");
    to.dwReserved = from.value("dwReserved", to.dwReserved);
    to.timestamp = textIn(from, "timestamp");
    to.threadID = from.value("threadID", to.threadID);
}

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(DGAUploadState, path, state, reason, comment, category)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(DGAReportContent, name, kind, size, path)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(DGAReportContents, files, isComplete, picture, pictureFault)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(DGAKeptReport, number, description, category, time)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(DGAReportDraft, description, category, screenShot, systemInfo)

namespace DGAWindowMessage {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Record, fields)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Show, number, window, level, token)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Close, window)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(ToFront, window, center, token)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(ReportMade, maker, path, fault, lacksPicture)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(ReportEnded, maker, run)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Hide, hidden)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(State, handled, prompt, report, upload)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Answer, index)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(MakeReport, maker, run, options)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(DropMaker, maker)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(TraceRecord, record)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(TelemetryAction, action)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(LogLine, module, level, text)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Upload, upload)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Hidden, hidden)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Post, number, url, headers, body, connectMilliseconds,
                                                totalMilliseconds)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Posted, number, mayHaveArrived, status, retryAfter, fault)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Draft, draft)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(DraftChanged, draft)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Contents, listing, contents)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(KeptReports, reports)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(ListContents, listing, options)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(RetakePicture, listing)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(DropContents, listing)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(DiscardKept, number)

void to_json(json& to, const End& /*from*/) {
    to = json::object();
}
void from_json(const json& /*from*/, End& /*to*/) {}
void to_json(json& to, const AskForKept& /*from*/) {
    to = json::object();
}
void from_json(const json& /*from*/, AskForKept& /*to*/) {}
void to_json(json& to, const Idle& /*from*/) {
    to = json::object();
}
void from_json(const json& /*from*/, Idle& /*to*/) {}

template <typename Message>
std::string write(const Message& message) {
    return dump(json(message));
}

template <typename Message>
std::optional<Message> read(std::string_view text) {
    const auto parsed = support::parseJson(std::string(text));
    if (!parsed || !parsed->is_object())
        return std::nullopt;
    try {
        return parsed->get<Message>();
    } catch (const json::exception&) {
        return std::nullopt;
    }
}

#define DGA_WINDOW_MESSAGE(Message)                      \
    template std::string write<Message>(const Message&); \
    template std::optional<Message> read<Message>(std::string_view)
DGA_WINDOW_MESSAGE(Record);
DGA_WINDOW_MESSAGE(Show);
DGA_WINDOW_MESSAGE(Close);
DGA_WINDOW_MESSAGE(ToFront);
DGA_WINDOW_MESSAGE(ReportMade);
DGA_WINDOW_MESSAGE(ReportEnded);
DGA_WINDOW_MESSAGE(Hide);
DGA_WINDOW_MESSAGE(End);
DGA_WINDOW_MESSAGE(State);
DGA_WINDOW_MESSAGE(Answer);
DGA_WINDOW_MESSAGE(MakeReport);
DGA_WINDOW_MESSAGE(DropMaker);
DGA_WINDOW_MESSAGE(TraceRecord);
DGA_WINDOW_MESSAGE(TelemetryAction);
DGA_WINDOW_MESSAGE(LogLine);
DGA_WINDOW_MESSAGE(Upload);
DGA_WINDOW_MESSAGE(Hidden);
DGA_WINDOW_MESSAGE(Idle);
DGA_WINDOW_MESSAGE(Post);
DGA_WINDOW_MESSAGE(Posted);
DGA_WINDOW_MESSAGE(Draft);
DGA_WINDOW_MESSAGE(DraftChanged);
DGA_WINDOW_MESSAGE(Contents);
DGA_WINDOW_MESSAGE(KeptReports);
DGA_WINDOW_MESSAGE(ListContents);
DGA_WINDOW_MESSAGE(RetakePicture);
DGA_WINDOW_MESSAGE(DropContents);
DGA_WINDOW_MESSAGE(AskForKept);
DGA_WINDOW_MESSAGE(DiscardKept);
#undef DGA_WINDOW_MESSAGE

std::string recordFields(const DGASessionRecord& record) {
    json fields = {{"serviceType", record.serviceType.load()},
                   {"enableSendReport", record.enableSendReport.load()},
                   {"isFreeze", record.isFreeze.load()}};
    for (const auto& text : kTextFields)
        fields[text.name] = textOrNull((record.*text.field).get());
    return dump(fields);
}

void setRecordFields(DGASessionRecord& record, const std::string& fields) {
    const auto parsed = support::parseJson(fields);
    if (!parsed || !parsed->is_object())
        return;
    try {
        record.serviceType = parsed->value("serviceType", int64_t{0});
        record.enableSendReport = parsed->value("enableSendReport", false);
        record.isFreeze = parsed->value("isFreeze", false);
        for (const auto& text : kTextFields)
            (record.*text.field).set(textIn(*parsed, text.name));
    } catch (const json::exception&) {
        // A field of another kind: what was read before it stays.
    }
}

}  // namespace DGAWindowMessage
