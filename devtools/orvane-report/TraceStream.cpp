#include "TraceStream.h"

namespace orvanereport {

namespace {

constexpr uint64_t kMostTrace = 4ULL << 30;
constexpr size_t kLongestLine = 1 << 16;

/// Puts pieces together to lines. A line that is too long is one that is no record.
class Lines {
public:
    Lines(const std::function<void(const tracefile::TraceLine&)>& take, TraceCount& count)
        : take_(take), count_(count) {}

    void add(std::string_view piece) {
        for (size_t end = piece.find('\n'); end != std::string_view::npos; end = piece.find('\n')) {
            if (rest_.empty()) {
                finish(piece.substr(0, end));
            } else {
                keep(piece.substr(0, end));
                finish(rest_);
                rest_.clear();
            }
            piece.remove_prefix(end + 1);
        }
        keep(piece);
    }

    void end() {
        if (!rest_.empty()) {
            finish(rest_);
        }
    }

private:
    void keep(std::string_view part) {
        rest_ += part.substr(0, kLongestLine - std::min(kLongestLine, rest_.size()));
    }

    void finish(std::string_view line) {
        const auto record = line.size() < kLongestLine ? tracefile::splitTraceLine(line) : std::nullopt;
        if (record) {
            ++count_.records;
            take_(*record);
        } else {
            ++count_.badLines;
        }
    }

    const std::function<void(const tracefile::TraceLine&)>& take_;
    TraceCount& count_;
    std::string rest_;
};

}  // namespace

TraceCount streamTrace(const Archive& archive, const std::function<void(const tracefile::TraceLine&)>& take) {
    TraceCount count;
    if (const Archive::Entry* const trace = archive.find("orvdga_trace_", ".csv")) {
        Lines lines(take, count);
        archive.stream(*trace, kMostTrace, [&](std::string_view piece) { lines.add(piece); });
        lines.end();
    }
    return count;
}

}  // namespace orvanereport
