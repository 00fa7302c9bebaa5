#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One line of a process listing, as the listing prints it.
struct DGAProcessRecord {
    std::string processID;
    std::string cpuRate;     ///< per cent of one core
    std::string memoryRate;  ///< resident kilobytes
    std::string appPath;     ///< the executable's name: the last part of its path

    bool operator==(const DGAProcessRecord&) const = default;
};

/// Reads the records of a listing with the columns process id, CPU, resident size and command path under a
/// heading line. Lines of more than 4095 bytes are taken as several. A line whose command has no "/", or
/// with fewer than three columns before it, gives no record.
std::vector<DGAProcessRecord> parseProcessListing(std::string_view listing);

/// The five busiest of a listing that is sorted so, followed by the client's and this program's record, in
/// the listing's order, if they are not among the five. None for a listing of five or fewer.
using DGAProcessTest = std::function<bool(const DGAProcessRecord&)>;
std::optional<std::vector<DGAProcessRecord>> topUtilizationProcesses(
    const std::vector<DGAProcessRecord>& listing, const DGAProcessTest& isClient,
    const DGAProcessTest& isOwn);

/// The number that a text begins with; 0 without one.
int64_t integerIn(std::string_view text);
double numberIn(std::string_view text);
