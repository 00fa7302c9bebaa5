#pragma once

#include <chrono>
#include <cstdio>
#include <optional>
#include <string>

#include "Archive.h"
#include "Masker.h"
#include "TraceStream.h"

namespace orvanereport {

/// Writes reports as one JSON object a line, as docs/fleet.md describes them. Not copyable; the file stays
/// the caller's.
class JsonLines {
public:
    /// `masker` may be null.
    JsonLines(std::FILE* out, Masker* masker) : out_(out), masker_(masker) {}
    JsonLines(const JsonLines&) = delete;
    JsonLines& operator=(const JsonLines&) = delete;

    /// All records of an archive's trace, and what its summary says. Throws ArchiveError; what was written up
    /// to there stays.
    TraceCount add(const Archive& archive, const std::string& number);

    /// Writes what is still held; false when the file did not take everything.
    bool finish();

private:
    void addRecord(const tracefile::TraceLine& line);
    void addSummary(const Archive& archive);
    void begin(std::string_view module, std::string_view name);
    void addText(std::string_view name, std::string_view text);
    void addNumber(std::string_view name, std::string_view number);
    void addTime(std::string_view text);
    void end();

    std::FILE* out_;
    Masker* masker_;
    bool failed_ = false;
    std::string text_;
    std::string start_;   ///< of every line of the report at hand
    std::string offset_;  ///< of its times, as in "+01:00"; empty when it is not known
    std::chrono::minutes offsetMinutes_{0};
};

}  // namespace orvanereport
