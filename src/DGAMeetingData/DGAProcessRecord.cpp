#include "DGAMeetingData/DGAProcessRecord.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace {

constexpr size_t kLineBuffer = 4096;
constexpr size_t kTopProcesses = 5;

// The next line or, of a line that does not fit the buffer with its end mark, the next piece of it.
std::string_view takeLine(std::string_view& listing) {
    const std::string_view piece = listing.substr(0, kLineBuffer - 1);
    const size_t lineFeed = piece.find('\n');
    listing.remove_prefix(lineFeed == std::string_view::npos ? piece.size() : lineFeed + 1);
    return piece.substr(0, lineFeed);
}

std::string_view takeToken(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const std::string_view token = text.substr(0, text.find(' '));
    text.remove_prefix(token.size());
    return token;
}

std::optional<DGAProcessRecord> parseLine(std::string_view line) {
    const size_t slash = line.find('/');
    if (slash == std::string_view::npos)
        return std::nullopt;
    std::string_view columns = line.substr(0, slash);
    const std::string_view processID = takeToken(columns);
    const std::string_view cpuRate = takeToken(columns);
    const std::string_view memoryRate = takeToken(columns);
    if (memoryRate.empty())
        return std::nullopt;
    return DGAProcessRecord{std::string(processID), std::string(cpuRate), std::string(memoryRate),
                            std::string(line.substr(line.rfind('/') + 1))};
}

template <typename Number>
Number leadingNumber(std::string_view text) {
    Number value{};
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

}  // namespace

std::vector<DGAProcessRecord> parseProcessListing(std::string_view listing) {
    std::vector<DGAProcessRecord> records;
    takeLine(listing);
    while (!listing.empty()) {
        if (auto record = parseLine(takeLine(listing)))
            records.push_back(std::move(*record));
    }
    return records;
}

std::optional<std::vector<DGAProcessRecord>> topUtilizationProcesses(
    const std::vector<DGAProcessRecord>& listing, const DGAProcessTest& isClient,
    const DGAProcessTest& isOwn) {
    if (listing.size() <= kTopProcesses)
        return std::nullopt;
    std::vector<DGAProcessRecord> top(listing.begin(), listing.begin() + kTopProcesses);
    bool clientFound = std::any_of(top.begin(), top.end(), isClient);
    bool ownFound = std::any_of(top.begin(), top.end(), isOwn);
    for (const DGAProcessRecord& record : listing) {
        if (clientFound && ownFound)
            break;
        if (!clientFound && isClient(record)) {
            top.push_back(record);
            clientFound = true;
        } else if (!ownFound && isOwn(record)) {
            top.push_back(record);
            ownFound = true;
        }
    }
    return top;
}

int64_t integerIn(std::string_view text) {
    return leadingNumber<int64_t>(text);
}

double numberIn(std::string_view text) {
    return leadingNumber<double>(text);
}
