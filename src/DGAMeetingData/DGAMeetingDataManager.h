#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "DGAMeetingData/DGAMeetingDataAudioQuality.h"
#include "DGAMeetingData/DGAMeetingDataMeetingService.h"
#include "DGAMeetingData/DGAMeetingDataNetwork.h"
#include "DGAMeetingData/DGAMeetingDataShareQuality.h"
#include "DGAMeetingData/DGAMeetingDataVideoQuality.h"

/// Reads the client's meeting-data messages and keeps the last value of every field. Main thread.
class DGAMeetingDataManager {
public:
    /// Takes one message, a JSON object that says the client's whole state: an event is recorded every
    /// time, everything else when it changes. What is absent or not a number counts as 0; numbers are
    /// 32 bits wide. A text that is not JSON counts as an empty object; any other JSON value than an
    /// object, and an event without a name, are logged and not recorded.
    void parseJson(const std::string& jsonStr);

    // The data objects, each made on first use.
    DGAMeetingDataNetwork& network() { return made(network_); }
    DGAMeetingDataMeetingService& meetingService() { return made(meetingService_); }
    DGAMeetingDataAudioQuality& audioQuality() { return made(audioQuality_); }
    DGAMeetingDataVideoQuality& videoQuality() { return made(videoQuality_); }
    DGAMeetingDataShareQuality& shareQuality() { return made(shareQuality_); }

private:
    template <typename Data>
    static Data& made(std::optional<Data>& data) {
        return data ? *data : data.emplace();
    }

    std::optional<DGAMeetingDataNetwork> network_;
    std::optional<DGAMeetingDataMeetingService> meetingService_;
    std::optional<DGAMeetingDataAudioQuality> audioQuality_;
    std::optional<DGAMeetingDataVideoQuality> videoQuality_;
    std::optional<DGAMeetingDataShareQuality> shareQuality_;
};
