#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

/// Reads and encodes the pieces of an archive one ahead, on a thread of the background queue: while a piece
/// is on its way the next one is made. One thread asks.
class CPieceAhead {
public:
    struct Piece {
        uint64_t length = 0;  ///< bytes that could be read
        int encoded = 0;      ///< their base64's length; below 1 where there is nothing to encode
        std::string body;     ///< what is posted
    };
    /// The description of the piece of a number and length, as it stands in the body. Called on any thread.
    using Describe = std::function<std::string(uint32_t number, uint64_t length)>;

    /// Numbers begin with 1. The file is opened anew, so that it may be closed meanwhile.
    CPieceAhead(const std::string& path, Describe describe);
    CPieceAhead(const CPieceAhead&) = delete;
    CPieceAhead& operator=(const CPieceAhead&) = delete;

    /// Begins with a piece, unless it has begun.
    void prepare(uint32_t number);

    /// The piece, once it is made.
    Piece take(uint32_t number);

private:
    struct Work;
    std::shared_ptr<Work> work_;
    uint32_t number_ = 0;  // under way or made
};
