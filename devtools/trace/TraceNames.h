#pragma once

#include <array>
#include <string_view>

#include "DGAMonitor/Const/DGATraceRecord.h"

namespace tracefile {

/// What a record's id means within its module.
struct TraceMeaning {
    DGATraceModule module;
    int id;
    std::string_view name;
};

inline constexpr std::array kTraceMeanings = {
    TraceMeaning{DGATraceModule::videoQuality, 100, "device status"},
    TraceMeaning{DGATraceModule::videoQuality, 200, "send quality"},
    TraceMeaning{DGATraceModule::videoQuality, 300, "receive quality"},
    TraceMeaning{DGATraceModule::shareQuality, 100, "sharing type"},
    TraceMeaning{DGATraceModule::shareQuality, 200, "sharing quality"},
    TraceMeaning{DGATraceModule::shareQuality, 310, "audio send quality"},
    TraceMeaning{DGATraceModule::shareQuality, 320, "audio receive quality"},
    TraceMeaning{DGATraceModule::shareQuality, 400, "video send quality"},
    TraceMeaning{DGATraceModule::shareQuality, 450, "video receive quality"},
    TraceMeaning{DGATraceModule::audioQuality, 100, "audio type"},
    TraceMeaning{DGATraceModule::audioQuality, 200, "telephone quality"},
    TraceMeaning{DGATraceModule::audioQuality, 210, "send quality"},
    TraceMeaning{DGATraceModule::audioQuality, 220, "receive quality"},
    TraceMeaning{DGATraceModule::audioQuality, 300, "device status"},
    TraceMeaning{DGATraceModule::network, 0, "connected"},
    TraceMeaning{DGATraceModule::network, 2, "not connected"},
    TraceMeaning{DGATraceModule::meetingService, 1, "polling session error"},
    TraceMeaning{DGATraceModule::meetingService, 2, "chat session error"},
    TraceMeaning{DGATraceModule::meetingService, 3, "notes session error"},
    TraceMeaning{DGATraceModule::meetingService, 4, "closed captions session error"},
    TraceMeaning{DGATraceModule::meetingService, 5, "file transfer session error"},
    TraceMeaning{DGATraceModule::meetingService, 6, "document sharing session error"},
    TraceMeaning{DGATraceModule::meetingService, 7, "video session error"},
    TraceMeaning{DGATraceModule::meetingService, 8, "application sharing session error"},
    TraceMeaning{DGATraceModule::meetingService, 9, "audio session error"},
    TraceMeaning{DGATraceModule::meetingService, 10, "recording session error"},
    TraceMeaning{DGATraceModule::meetingService, 35, "connection error (cb)"},
    TraceMeaning{DGATraceModule::meetingService, 36, "connection error (mmp)"},
    TraceMeaning{DGATraceModule::meetingService, 37, "connection delay (cb)"},
};

/// What a module number means, for people; the number itself if that is not known.
std::string_view moduleName(std::string_view module);

/// What a record is about, within its module: its own name, or the meaning of its id; the id itself if that
/// is not known.
std::string_view recordName(std::string_view module, std::string_view basicInfo, std::string_view id);

}  // namespace tracefile
