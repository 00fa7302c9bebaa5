#include "DGAMeetingData/DGAMeetingDataManager.h"

#include <algorithm>
#include <array>
#include <limits>

#include "support/JsonValue.h"
#include "support/ORVNLogger.h"

namespace {

using Json = nlohmann::json;
using Service = DGAMeetingDataMeetingService;
using Audio = DGAMeetingDataAudioQuality;
using Video = DGAMeetingDataVideoQuality;
using Share = DGAMeetingDataShareQuality;

constexpr std::array kEventNames = {"HC Invalid", "HC Show",     "HC Hide",       "HC Test",
                                    "HC Refresh", "HC AV Click", "HC Send Report"};
constexpr int64_t kEventInteraction = 3;

constexpr int32_t kConnectedInMessage = 1;
constexpr int32_t kConnected = 0;
constexpr int32_t kDisconnected = 2;

template <typename Data>
struct Field {
    const char* key;
    void (Data::*set)(int32_t value);
};

// The order of a table is the order of its records in the trace.

constexpr Field<Service> kServiceFields[] = {
    {"cbConnectionErrorCode", &Service::setCbConnectionErrorCode},
    {"cbConnectionDelay", &Service::setCbConnectionDelay},
    {"mmpConnectionErrorCode", &Service::setMmpConnectionErrorCode},
    {"pdSessionErrorCode", &Service::setPdSessionErrorCode},
    {"chatSessionErrorCode", &Service::setChatSessionErrorCode},
    {"pollingSessionErrorCode", &Service::setPollingSessionErrorCode},
    {"ccSessionErrorCode", &Service::setCcSessionErrorCode},
    {"noteSessionErrorCode", &Service::setNoteSessionErrorCode},
    {"fileTransformSessionErrorCode", &Service::setFileTransformSessionErrorCode},
    {"nbrSessionErrorCode", &Service::setNbrSessionErrorCode},
    {"asSessionErrorCode", &Service::setAsSessionErrorCode},
    {"audioSessionErrorCode", &Service::setAudioSessionErrorCode},
    {"videoSessionErrorCode", &Service::setVideoSessionErrorCode},
};

constexpr Field<Audio> kAudioFields[] = {
    {"audioType", &Audio::setAudioType},
    {"receiveQuality", &Audio::setReceiveQuality},
    {"sendQuality", &Audio::setSendQuality},
    {"deviceStatus", &Audio::setDeviceStatus},
    {"telephoneQuality", &Audio::setTelephoneQuality},
};

constexpr Field<Video> kVideoFields[] = {
    {"receiveQuality", &Video::setReceiveQuality},
    {"sendQuality", &Video::setSendQuality},
    {"deviceStatus", &Video::setDeviceStatus},
};

constexpr Field<Share> kShareFields[] = {
    {"shareType", &Share::setShareType},
    {"audioReceiveQuality", &Share::setAudioReceiveQuality},
    {"audioSendQuality", &Share::setAudioSendQuality},
    {"videoReceiveQuality", &Share::setVideoReceiveQuality},
    {"videoSendQuality", &Share::setVideoSendQuality},
    {"dlcQuality", &Share::setDlcQuality},
    {"h264Quality", &Share::setH264Quality},
};

// A whole number keeps its low 32 bits; a fraction or a text becomes the nearest 32-bit integer.
int32_t integerOf(const Json& value) {
    using Limits = std::numeric_limits<int32_t>;
    const int64_t wide = support::jsonIntegerQuery(value).value_or(0);
    if (value.is_number_integer())
        return static_cast<int32_t>(wide);
    return static_cast<int32_t>(std::clamp<int64_t>(wide, Limits::min(), Limits::max()));
}

int32_t integerIn(const Json* section, const char* key) {
    const Json* value = section ? support::jsonMember(*section, key) : nullptr;
    return value ? integerOf(*value) : 0;
}

template <typename Data, size_t count>
void setFields(Data& data, const Field<Data> (&fields)[count], int32_t eventType, const Json* section) {
    data.setEventType(eventType);
    for (const auto& field : fields)
        (data.*field.set)(integerIn(section, field.key));
}

void saveEvent(int32_t eventType) {
    if (eventType <= 0)
        return;
    if (static_cast<size_t>(eventType) >= kEventNames.size()) {
        logWarning("parseJson: no event has the number {}", eventType);
        return;
    }
    DGAMeetingData::saveMeetingData({.moduleType = DGATraceModule::event,
                                     .interactionType = kEventInteraction,
                                     .basicInfo = kEventNames.at(static_cast<size_t>(eventType))});
}

}  // namespace

void DGAMeetingDataManager::parseJson(const std::string& jsonStr) {
    logInfo("parseJson: {}", jsonStr);
    const Json message = support::parseJson(jsonStr).value_or(Json::object());
    if (!message.is_object()) {
        logWarning("parseJson: the message is not an object but of type {}", message.type_name());
        return;
    }
    const auto section = [&message](const char* key) { return support::jsonMember(message, key); };

    const int32_t eventType = integerIn(section("event"), "eventType");
    saveEvent(eventType);

    network().setEventType(eventType);
    const int32_t status = integerIn(section("network"), "networkStatus");
    network().setNetworkStatus(status == kConnectedInMessage ? kConnected : kDisconnected);

    setFields(meetingService(), kServiceFields, eventType, section("meetingService"));
    setFields(audioQuality(), kAudioFields, eventType, section("audioQuality"));
    audioQuality().saveData();
    setFields(videoQuality(), kVideoFields, eventType, section("videoQuality"));
    videoQuality().saveData();
    setFields(shareQuality(), kShareFields, eventType, section("shareQuality"));
    shareQuality().saveData();
}
