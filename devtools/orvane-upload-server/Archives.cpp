#include "Archives.h"

#include <fmt/format.h>

#include <filesystem>
#include <nlohmann/json.hpp>

namespace uploadserver {

namespace {

constexpr size_t kMostArriving = 64;

std::map<std::string, std::string> sessionOf(const Piece& piece) {
    auto session = piece.fields;
    for (const char* name : {"pl", "pn"})
        session.erase(name);
    return session;
}

// What a client calls its file must not lead out of the folder.
std::string safeName(std::string name) {
    for (char& c : name) {
        if (c == '/' || static_cast<unsigned char>(c) < ' ')
            c = '_';
    }
    if (name.size() > 200)
        name.resize(200);
    return name.empty() || name[0] == '.' ? "_" + name : name;
}

}  // namespace

void Archives::begin(Arriving& arriving, const Piece& piece) const {
    arriving = Arriving();
    arriving.session = sessionOf(piece);
    if (m_folder.empty())
        return;
    arriving.path = m_folder + "/" + safeName(piece.fields.at("fn"));
    arriving.archive.open(arriving.path + ".part", std::ios::binary | std::ios::trunc);
    arriving.fields.open(arriving.path + ".pieces.jsonl", std::ios::trunc);
}

void Archives::keep(Arriving& arriving, const Piece& piece) {
    if (arriving.path.empty())
        return;
    arriving.archive.write(piece.bytes.data(), static_cast<std::streamsize>(piece.bytes.size()));
    arriving.fields
        << nlohmann::json(piece.fields).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)
        << '\n';
    if (piece.number == piece.count) {
        arriving.archive.close();
        arriving.fields.close();
        std::error_code failed;
        std::filesystem::rename(arriving.path + ".part", arriving.path + ".zip", failed);
        if (failed)
            arriving.archive.setstate(std::ios::failbit);
    }
    if (!arriving.archive || !arriving.fields)
        throw PieceError(fmt::format("cannot write {}.zip", arriving.path));
}

std::string Archives::take(const Piece& piece) {
    const std::lock_guard<std::mutex> hold(m_mutex);
    const std::string& name = piece.fields.at("fn");
    const bool isKnown = m_arriving.count(name) != 0;
    if (!isKnown && m_arriving.size() >= kMostArriving)
        throw PieceError("too many archives have been begun and not ended");
    if (!isKnown && piece.number != 1)
        throw PieceError(fmt::format("piece {} of \"{}\" came before its first", piece.number, name));
    Arriving& arriving = m_arriving[name];
    if (piece.number == 1)
        begin(arriving, piece);
    if (piece.number != arriving.due)
        throw PieceError(fmt::format("piece {} came where {} was due", piece.number, arriving.due));
    if (sessionOf(piece) != arriving.session)
        throw PieceError(fmt::format("piece {} has other session fields than the first", piece.number));
    keep(arriving, piece);
    ++arriving.due;
    if (piece.number < piece.count)
        return {};
    std::string line =
        fmt::format("complete: \"{}\", {} bytes in {} pieces", name, piece.fileSize, piece.count);
    if (!arriving.path.empty())
        line += fmt::format(", kept as {}.zip", arriving.path);
    m_arriving.erase(name);
    return line;
}

}  // namespace uploadserver
