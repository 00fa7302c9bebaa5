#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace platform {

/// The SHA-256 (FIPS 180-4) of the beginning of a file that may still be growing. One thread at a time.
class FileDigest {
public:
    FileDigest();
    ~FileDigest();
    FileDigest(FileDigest&& other) noexcept;
    FileDigest& operator=(FileDigest&& other) noexcept;

    /// Takes in the file's bytes from where the last call ended up to `end`. False if there are fewer, or
    /// they cannot be read. The handle stays the caller's.
    bool readUpTo(int file, uint64_t end);

    /// How many bytes have been taken in.
    uint64_t length() const { return length_; }

    /// Of these bytes, 64 lower-case hexadecimal digits.
    std::string hex() const;

private:
    struct State;
    std::unique_ptr<State> state_;
    uint64_t length_ = 0;
};

}  // namespace platform
