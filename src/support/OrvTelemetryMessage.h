#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace support {

struct TelemetryAction {
    int actionID = 0;
    int64_t nanoseconds = 0;  ///< since the epoch
};

/// The request's body: an ExportLogsServiceRequest in JSON, one log record an action.
std::string telemetryMessage(const std::vector<TelemetryAction>& actions,
                             const std::optional<std::string>& trackingID);

/// A request header that a client asks for, as the line that the sender takes; none if the name is not
/// allowed.
std::optional<std::string> telemetryHeaderLine(std::string_view name, std::string_view value);

/// The name that a header line has, in lower case.
std::string telemetryHeaderName(std::string_view line);

}  // namespace support
