#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>

/// One side of the meeting as the client last described it. Its subclasses turn changes into trace
/// records: network and services at once, in their setters; the qualities together, in saveData().
/// Main thread.
class DGAMeetingData {
public:
    using Text = std::optional<std::string>;

    /// A trace record's eleven values: module type, level type, interaction type, basicInfo, dwID, desc,
    /// dwValue, lpszReserved, dwReserved, timestamp, thread id.
    using Values =
        std::tuple<int64_t, int64_t, int64_t, Text, int64_t, Text, int64_t, Text, int64_t, Text, int64_t>;

    /// The module types under which meeting data stands in the trace.
    enum class Module : uint8_t {
        videoQuality = 7,
        shareQuality = 8,
        audioQuality = 9,
        network = 31,
        meetingService = 32,
        event = 42,
    };

    virtual ~DGAMeetingData() = default;
    DGAMeetingData(const DGAMeetingData&) = delete;
    DGAMeetingData& operator=(const DGAMeetingData&) = delete;

    /// Number of the event in the message that last set the object.
    int32_t eventType() const { return eventType_; }
    void setEventType(int32_t eventType) { eventType_ = eventType; }

    /// Whether a setter has changed a value since saveData() last wrote or cleared.
    bool ifChanged() const { return ifChanged_; }

    /// Appends one record to the trace.
    static void saveMeetingData(const Values& values);

    /// Writes the records of a changed object and clears ifChanged; here it only clears.
    virtual void saveData();

protected:
    DGAMeetingData() = default;

    /// Stores a value; a new one marks the object as changed.
    void change(int32_t& field, int32_t value);

    /// Appends the record of one value: level type 1, interaction type 6, all texts empty.
    static void saveValue(Module module, int32_t dwID, int32_t dwValue);

private:
    int32_t eventType_ = 0;
    bool ifChanged_ = false;
};
