#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Windows/DGAWindowMessages.h"
#include "platform/FrameReader.h"

// What either end of the channel between the assistant and its windows reads: frames, then messages of every
// kind. What was read is written and read again the same.

namespace {

using namespace DGAWindowMessage;

template <typename Message>
void readAs(const platform::FrameReader::Message& frame) {
    if (frame.id != Message::kId)
        return;
    const auto message = read<Message>(frame.data);
    if (!message)
        return;
    const std::string text = write(*message);
    const auto again = read<Message>(text);
    if (!again || write(*again) != text)
        std::abort();
}

template <typename... Messages>
void readAsAny(const platform::FrameReader::Message& frame) {
    (readAs<Messages>(frame), ...);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    platform::FrameReader reader(kLongest);
    const auto room = reader.room(length);
    std::copy(bytes, bytes + length, reinterpret_cast<uint8_t*>(room.data()));
    reader.push(length);
    while (reader.front() == platform::FrameReader::Front::message) {
        const auto frame = reader.takeMessage();
        readAsAny<Record, Show, Close, ToFront, ReportMade, ReportEnded, Hide, End, Post>(frame);
        readAsAny<State, Answer, MakeReport, DropMaker, TraceRecord, TelemetryAction, LogLine, Upload, Hidden,
                  Idle, Posted>(frame);
        setRecordFields(DGASessionRecord::sharedRecord(), std::string(frame.data));
    }
    return 0;
}
