#pragma once

#include <cstdint>
#include <fstream>
#include <map>
#include <mutex>
#include <string>

#include "Piece.h"

namespace uploadserver {

/// The archives that are arriving, and where complete ones are kept. Any thread.
class Archives {
public:
    /// `folder` exists, or is empty to keep nothing.
    explicit Archives(std::string folder) : m_folder(std::move(folder)) {}

    /// Takes a piece. Returns a line for people when it was the last one, else nothing. The first piece of an
    /// archive that is already arriving begins it anew. Throws PieceError if it is not the piece that is
    /// due, or cannot be kept.
    std::string take(const Piece& piece);

private:
    struct Arriving {
        std::map<std::string, std::string> session;  // the fields that all pieces share
        uint64_t due = 1;
        std::string path;  // without an ending
        std::ofstream archive;
        std::ofstream fields;
    };

    void begin(Arriving& arriving, const Piece& piece) const;
    static void keep(Arriving& arriving, const Piece& piece);

    std::mutex m_mutex;
    std::string m_folder;
    std::map<std::string, Arriving> m_arriving;  // by file name
};

}  // namespace uploadserver
