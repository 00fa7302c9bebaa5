#pragma once

#include <cstdint>

#include "DGAMonitor/Const/DGATraceRecord.h"

/// One side of the meeting as the client last described it. Its subclasses turn changes into trace
/// records: network and services at once, in their setters; the qualities together, in saveData().
/// Main thread.
class DGAMeetingData {
public:
    virtual ~DGAMeetingData() = default;
    DGAMeetingData(const DGAMeetingData&) = delete;
    DGAMeetingData& operator=(const DGAMeetingData&) = delete;

    /// Number of the event in the message that last set the object.
    int32_t eventType() const { return eventType_; }
    void setEventType(int32_t eventType) { eventType_ = eventType; }

    /// Whether a setter has changed a value since saveData() last wrote or cleared.
    bool ifChanged() const { return ifChanged_; }

    /// Appends one record to the trace.
    static void saveMeetingData(const DGATraceRecord& record);

    /// Writes the records of a changed object and clears ifChanged; here it only clears.
    virtual void saveData();

protected:
    DGAMeetingData() = default;

    /// Stores a value; a new one marks the object as changed.
    void change(int32_t& field, int32_t value);

    /// Appends the record of one value: level type 1, interaction type 6, all texts empty.
    static void saveValue(DGATraceModule module, int32_t dwID, int32_t dwValue);

private:
    int32_t eventType_ = 0;
    bool ifChanged_ = false;
};
