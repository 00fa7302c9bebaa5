#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/FrameReader.h"

namespace {

using platform::FrameReader;

struct Outcome {
    std::vector<std::pair<int32_t, std::string>> messages;
    FrameReader::Front front;
    bool isEmpty;
    bool operator==(const Outcome&) const = default;
};

Outcome read(const char* bytes, size_t length, size_t piece) {
    FrameReader reader(64);
    Outcome outcome{};
    for (size_t at = 0; at < length; at += piece) {
        const size_t count = std::min(piece, length - at);
        std::copy_n(bytes + at, count, reader.room(count).data());
        reader.push(count);
        while (reader.front() == FrameReader::Front::message) {
            const auto [id, data] = reader.takeMessage();
            outcome.messages.emplace_back(id, data);
        }
    }
    outcome.front = reader.front();
    outcome.isEmpty = reader.isEmpty();
    return outcome;
}

}  // namespace

// The first byte says in pieces of which size the rest arrives; that must make no difference.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    if (length < 2)
        return 0;
    const auto* stream = reinterpret_cast<const char*>(bytes) + 1;
    if (!(read(stream, length - 1, size_t{bytes[0]} + 1) == read(stream, length - 1, length)))
        std::abort();
    return 0;
}
