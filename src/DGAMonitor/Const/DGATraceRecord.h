#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// What a record of the trace is about: the first number of its line.
enum class DGATraceModule : int64_t {
    videoQuality = 7,
    shareQuality = 8,
    audioQuality = 9,
    resources = 30,       ///< CPU and memory
    network = 31,         ///< the state of the network
    meetingService = 32,  ///< error codes of the meeting's services, the delay of one connection
    session = 39,         ///< session parameters, and what became of an upload
    clientQuit = 40,      ///< the client's goodbye
    event = 42,           ///< what the user did in the client
};

struct DGATraceModuleName {
    DGATraceModule module;
    std::string_view name;  ///< for people who read a trace
};
inline constexpr std::array kDGATraceModuleNames = {
    DGATraceModuleName{DGATraceModule::videoQuality, "video quality"},
    DGATraceModuleName{DGATraceModule::shareQuality, "sharing quality"},
    DGATraceModuleName{DGATraceModule::audioQuality, "audio quality"},
    DGATraceModuleName{DGATraceModule::resources, "CPU and memory"},
    DGATraceModuleName{DGATraceModule::network, "network status"},
    DGATraceModuleName{DGATraceModule::meetingService, "meeting service"},
    DGATraceModuleName{DGATraceModule::session, "session parameters"},
    DGATraceModuleName{DGATraceModule::clientQuit, "client quit"},
    DGATraceModuleName{DGATraceModule::event, "user-interface event"},
};

/// One line of the trace, in the order of its fields. docs/report-format.md says what they mean for each
/// module.
struct DGATraceRecord {
    using Text = std::optional<std::string>;

    DGATraceModule moduleType{};
    int64_t levelType = 1;
    int64_t interactionType = 1;
    Text basicInfo = {};  ///< a missing text is an empty field
    float dwID = 0.0F;
    Text desc = {};
    int64_t dwValue = 0;
    Text lpszReserved = {};
    int64_t dwReserved = 0;
    Text timestamp = {};   ///< missing or empty: the time of writing
    int64_t threadID = 0;  ///< 0: the number of the writing thread
};
