#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>

namespace uploadserver {

constexpr uint64_t kPieceLength = 122880;

/// What arrived is not a piece, or not the one that was due; what() says why.
class PieceError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Piece {
    std::map<std::string, std::string> fields;  ///< as they came
    std::string bytes;
    uint64_t number = 0;  ///< from 1
    uint64_t count = 0;
    uint64_t fileSize = 0;
};

/// Reads the body of a POST and checks that it agrees with itself. Throws PieceError.
Piece readPiece(const std::string& body);

}  // namespace uploadserver
