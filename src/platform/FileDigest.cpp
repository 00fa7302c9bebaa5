#include "platform/FileDigest.h"

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace platform {

struct FileDigest::State {
    GChecksum* checksum = g_checksum_new(G_CHECKSUM_SHA256);
    State() = default;
    ~State() { g_checksum_free(checksum); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
};

FileDigest::FileDigest() : state_(std::make_unique<State>()) {}
FileDigest::~FileDigest() = default;
FileDigest::FileDigest(FileDigest&& other) noexcept = default;
FileDigest& FileDigest::operator=(FileDigest&& other) noexcept = default;

bool FileDigest::readUpTo(int file, uint64_t end) {
    constexpr uint64_t kBlock = 262144;
    std::vector<unsigned char> buffer(std::min(kBlock, end > length_ ? end - length_ : 0));
    while (length_ < end) {
        const ssize_t count = pread(file, buffer.data(), std::min<uint64_t>(buffer.size(), end - length_),
                                    static_cast<off_t>(length_));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        g_checksum_update(state_->checksum, buffer.data(), count);
        length_ += static_cast<uint64_t>(count);
    }
    return true;
}

std::string FileDigest::hex() const {
    // Asking closes a sum.
    GChecksum* const copy = g_checksum_copy(state_->checksum);
    std::string hex = g_checksum_get_string(copy);
    g_checksum_free(copy);
    return hex;
}

}  // namespace platform
