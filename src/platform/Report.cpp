#include "platform/Report.h"

#include <atomic>
#include <cstdio>

namespace platform {
namespace {

void reportToStandardError(LogLevel level, std::string_view text) {
    if (level >= LogLevel::warning)
        std::fprintf(stderr, "orvanedga: %.*s\n", static_cast<int>(text.size()), text.data());
}

std::atomic<Reporter> currentReporter{&reportToStandardError};

}  // namespace

void setReporter(Reporter reporter) {
    currentReporter = reporter ? reporter : &reportToStandardError;
}

void reportInfo(std::string_view text) {
    currentReporter.load()(LogLevel::info, text);
}

void reportNotice(std::string_view text) {
    currentReporter.load()(LogLevel::notice, text);
}

void reportWarning(std::string_view text) {
    currentReporter.load()(LogLevel::warning, text);
}

}  // namespace platform
