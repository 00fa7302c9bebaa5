#include "support/OrvTelemetryMessage.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "platform/BundleInfo.h"
#include "platform/Text.h"

namespace support {
namespace {

using Json = nlohmann::json;

constexpr char kServiceName[] = "orvanedga";
constexpr int kSeverityInfo = 9;

// They say where the request goes, how its bytes are counted, or what they are.
constexpr std::array<std::string_view, 13> kOurHeaders{"connection",
                                                       "content-encoding",
                                                       "content-length",
                                                       "content-type",
                                                       "expect",
                                                       "host",
                                                       "keep-alive",
                                                       "te",
                                                       "trailer",
                                                       "upgrade",
                                                       "proxy-authorization",
                                                       "transfer-encoding",
                                                       "proxy-connection"};

// A token of RFC 9110.
bool isHeaderName(std::string_view name) {
    const auto isTokenCharacter = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
    };
    return !name.empty() && std::all_of(name.begin(), name.end(), isTokenCharacter);
}

Json textAttribute(const char* key, const std::string& value) {
    return {{"key", key}, {"value", {{"stringValue", value}}}};
}

// 64-bit numbers are texts in this encoding.
Json logRecord(const TelemetryAction& action) {
    const std::string number = std::to_string(action.actionID);
    const std::string time = std::to_string(action.nanoseconds);
    return {{"timeUnixNano", time},
            {"observedTimeUnixNano", time},
            {"severityNumber", kSeverityInfo},
            {"severityText", "INFO"},
            {"body", {{"stringValue", number}}},
            {"attributes", Json::array({{{"key", "action.id"}, {"value", {{"intValue", number}}}}})}};
}

}  // namespace

std::string telemetryMessage(const std::vector<TelemetryAction>& actions,
                             const std::optional<std::string>& trackingID) {
    const std::string version = platform::BundleInfo::shortVersion();
    Json attributes =
        Json::array({textAttribute("service.name", kServiceName), textAttribute("service.version", version)});
    if (trackingID)
        attributes.push_back(textAttribute("session.id", *trackingID));
    Json records = Json::array();
    for (const auto& action : actions)
        records.push_back(logRecord(action));
    const Json scopeLogs{{"scope", {{"name", kServiceName}, {"version", version}}},
                         {"logRecords", std::move(records)}};
    const Json resourceLogs{{"resource", {{"attributes", std::move(attributes)}}},
                            {"scopeLogs", Json::array({scopeLogs})}};
    return Json{{"resourceLogs", Json::array({resourceLogs})}}.dump(-1, ' ', false,
                                                                    Json::error_handler_t::replace);
}

std::optional<std::string> telemetryHeaderLine(std::string_view name, std::string_view value) {
    const std::string lower = platform::lowerCase(name);
    if (!isHeaderName(name) || std::find(kOurHeaders.begin(), kOurHeaders.end(), lower) != kOurHeaders.end())
        return std::nullopt;
    std::string cleaned;
    for (const char c : value) {
        if (static_cast<unsigned char>(c) >= ' ' && c != '\x7f')
            cleaned += c;
    }
    cleaned.erase(0, std::min(cleaned.find_first_not_of(' '), cleaned.size()));
    // libcurl takes "Name:" for the wish to leave the header out.
    return cleaned.empty() ? std::string(name) + ";" : std::string(name) + ": " + cleaned;
}

std::string telemetryHeaderName(std::string_view line) {
    return platform::lowerCase(line.substr(0, line.find_first_of(":;")));
}

}  // namespace support
