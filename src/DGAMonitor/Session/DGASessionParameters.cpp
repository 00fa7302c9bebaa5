#include "DGAMonitor/Session/DGASessionParameters.h"

#include <fmt/format.h>
#include <sys/types.h>

#include <charconv>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Const/DGADicKeyStrings.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Utilities/DGAUtilitiesText.h"
#include "DGAMonitor/Utilities/Tool/DGALanguageManager.h"
#include "support/JsonValue.h"
#include "support/ORVNLogger.h"
#include "support/PlainText.h"

namespace {

using Json = nlohmann::json;
using MaybeText = std::optional<std::string>;

class Reader {
public:
    explicit Reader(const Json& parameters) : parameters_(parameters) {}

    const Json* value(const char* key) const { return support::jsonMember(parameters_, key); }

    MaybeText asSent(const char* key) const {
        const Json* found = value(key);
        return found ? support::jsonAsSent(*found) : std::nullopt;
    }

    MaybeText numberText(const char* key) const {
        const Json* found = value(key);
        return found ? support::jsonStringQuery(*found) : std::nullopt;
    }

    // A number as its text, anything else as it was sent.
    MaybeText textOrNumber(const char* key) const {
        auto number = numberText(key);
        return number ? number : asSent(key);
    }

    void readFlag(const char* key, std::atomic<bool>& field) const {
        const Json* found = value(key);
        if (const auto flag = found ? support::jsonBoolQuery(*found) : std::nullopt)
            field = *flag;
    }

    void readNumberText(const char* key, DGASessionRecord::Text& field) const {
        if (auto number = numberText(key))
            field.set(std::move(number));
    }

private:
    const Json& parameters_;
};

std::string replaceAll(std::string text, const std::string& what, const std::string& by) {
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
    return text;
}

// A decimal number that names a process which is not the system's first; none for anything else.
MaybeText processID(MaybeText sent) {
    pid_t number = 0;
    const char* const end = sent ? sent->data() + sent->size() : nullptr;
    if (!sent || std::from_chars(sent->data(), end, number).ptr != end || number <= 1 ||
        std::to_string(number) != *sent)
        return std::nullopt;
    return sent;
}

void readServiceType(const Reader& reader, DGASessionRecord& record) {
    const Json* sent = reader.value(dDGAServiceTypeKey);
    if (!sent)
        record.serviceType = kDGAServiceTypeHV;
    else if (const auto number = support::jsonIntegerQuery(*sent))
        record.serviceType = *number;
    if (record.serviceType >= kDGAServiceTypeEnd)
        record.serviceType = kDGAServiceTypeHV;
}

void readLanguage(const Reader& reader, DGASessionRecord& record) {
    const Json* sent = reader.value(dDGAActiveLanguageKey);
    const auto number = sent ? support::jsonIntegerQuery(*sent) : std::nullopt;
    if (!number)
        return;
    record.languageID.set(std::to_string(*number));
    record.language.set(DGALanguageManager::dga_getActiveLanguageWithLanguageID(*number));
}

void readTelemetry(const Reader& reader, DGASessionRecord& record) {
    MaybeText trackingID = reader.asSent(dDGATelemetrySessionIDKey);
    if (!trackingID || trackingID->empty() || !DGAUtilities::isValidTrackID(trackingID)) {
        trackingID = DGAUtilities::createUUID();
        logInfo("dealMessageFromClient, create _telemetrySessionID={}", *trackingID);
    }
    record.telemetrySessionID.set(std::move(trackingID));
    record.telemetryMetricsURL.set(reader.asSent(dDGATelemetryMetricsURLKey));
    const Json* headers = reader.value(dDGATelemetryHttpHeadersKey);
    record.telemetryHttpHeaders.set(headers ? std::make_shared<const Json>(*headers) : nullptr);
}

void readMeeting(const Reader& reader, DGASessionRecord& record) {
    const std::string confID = reader.asSent(dDGAConfIDKey).value_or("");
    record.confID.set(confID);
    MaybeText uploadURL = reader.asSent(dDGAUploadURLKey);
    if (uploadURL)
        uploadURL = replaceAll(std::move(*uploadURL), "upload.do", "spr.do");
    record.uploadURL.set(std::move(uploadURL));
    record.smac.set(reader.asSent(dDGASmacKey));
    MaybeText confName = reader.asSent(dDGAConfNameKey);
    if (confName && !confID.empty())
        confName = replaceAll(std::move(*confName), "." + confID, "");
    record.confName.set(std::move(confName));
    const Json* userID = reader.value(dDGAUserIDKey);
    if (const auto number = userID ? support::jsonUnsignedQuery(*userID) : std::nullopt)
        record.userID.set(std::to_string(static_cast<uint32_t>(*number)));
    record.siteID.set(reader.textOrNumber(dDGASiteIDKey));
    record.siteURL.set(reader.asSent(dDGASiteURLKey));
    record.userName.set(reader.asSent(dDGAUserNameKey));
    reader.readNumberText(dDGAMeetingKeyKey, record.meetingKey);
    reader.readNumberText(dDGASmacTimestampKey, record.smacTimestap);
    record.userEmail.set(reader.asSent(dDGAUserEmailKey));
    record.logFileName.set(reader.asSent(dDGALogFileNameKey));
}

}  // namespace

void readSessionParameters(const nlohmann::json& parameters, DGASessionRecord& record) {
    const Reader reader(parameters);
    readServiceType(reader, record);
    reader.readFlag(dDGASignInStatusKey, record.isSignStatus);
    record.pID.set(processID(reader.textOrNumber(dDGAProcessIDKey)));
    readLanguage(reader, record);
    record.clientVersion.set(reader.asSent(dDGAClientVersionKey));
    reader.readFlag(dDGAEnableSendProblemReportKey, record.enableSendReport);
    reader.readFlag(dDGAEnableTelemetryKey, record.telemetryEnable);
    reader.readFlag(dDGAEnableAccompanyKey, record.enableAccompnyDGA);
    readTelemetry(reader, record);
    if (record.serviceType == kDGAServiceTypeHV)
        readMeeting(reader, record);
}

nlohmann::json sessionParametersForLog(nlohmann::json parameters) {
    for (const char* key : {dDGAUserEmailKey, dDGAMeetingKeyKey, dDGAConfNameKey, dDGASmacKey})
        parameters.erase(key);
    for (const char* key : {dDGAUploadURLKey, dDGATelemetryMetricsURLKey}) {
        const auto address = parameters.find(key);
        if (address != parameters.end())
            *address =
                address->is_string() ? support::addressWithoutSecrets(address->get<std::string>()) : "";
    }
    const auto headers = parameters.find(dDGATelemetryHttpHeadersKey);
    if (headers == parameters.end())
        return parameters;
    Json names = Json::array();
    for (const auto& [name, value] : headers->items()) {
        if (headers->is_object())
            names.push_back(name);
    }
    *headers = names;
    return parameters;
}
