#include "platform/Report.h"

#include <atomic>
#include <cstdio>

namespace platform {
namespace {

void reportToStandardError(int level, std::string_view text) {
    if (level >= 8)
        std::fprintf(stderr, "orvanedga: %.*s\n", static_cast<int>(text.size()), text.data());
}

std::atomic<Reporter> currentReporter{&reportToStandardError};

}  // namespace

void setReporter(Reporter reporter) {
    currentReporter = reporter ? reporter : &reportToStandardError;
}

void report(int level, std::string_view text) {
    currentReporter.load()(level, text);
}

}  // namespace platform
