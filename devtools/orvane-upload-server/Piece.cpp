#include "Piece.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <string_view>

#include "support/Base64.h"
#include "support/JsonValue.h"

namespace uploadserver {

namespace {

constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
constexpr const char* kFields[] = {"SMAC", "cn", "ui", "si", "sn", "mk", "ts", "ci", "pl", "pc", "pn",
                                   "ut",   "fn", "cb", "su", "li", "pt", "ue", "pd", "ti", "ct", "fs"};

std::string decoded(std::string_view text, const char* what) {
    if (text.size() % 4 != 0 || text.find_first_not_of(kBase64) != std::string_view::npos)
        throw PieceError(fmt::format("{} is not base64 on one line", what));
    auto bytes = support::base64Decode(text);
    if (!bytes)
        throw PieceError(fmt::format("{} is not whole base64", what));
    return std::move(*bytes);
}

/// Base64 in lines of 64 characters that CR LF separates.
std::string decodedLines(const std::string& text, const char* what) {
    std::string joined;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find("\r\n", start), text.size());
        if (end != text.size() && (end - start != 64 || end + 2 == text.size()))
            throw PieceError(fmt::format("{} has a line of {} characters", what, end - start));
        joined.append(text, start, end - start);
        start = end + 2;
    }
    return decoded(joined, what);
}

std::map<std::string, std::string> readFields(const std::string& text) {
    const auto json = support::parseJson(text);
    if (!json || !json->is_object())
        throw PieceError("the description is not a JSON object");
    std::map<std::string, std::string> fields;
    for (const auto& [name, value] : json->items()) {
        if (!value.is_string())
            throw PieceError(fmt::format("the field \"{}\" is not a string", name));
        fields[name] = value.get<std::string>();
    }
    for (const char* name : kFields) {
        if (fields.count(name) == 0)
            throw PieceError(fmt::format("the field \"{}\" is missing", name));
    }
    if (fields.size() != std::size(kFields))
        throw PieceError(fmt::format("there are {} fields instead of {}", fields.size(), std::size(kFields)));
    return fields;
}

uint64_t numberField(const Piece& piece, const char* name) {
    const std::string& text = piece.fields.at(name);
    uint64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size())
        throw PieceError(fmt::format("the field \"{}\" is not a number: \"{}\"", name, text));
    return value;
}

void expect(uint64_t found, uint64_t expected, const char* what) {
    if (found != expected)
        throw PieceError(fmt::format("{} is {}, expected {}", what, found, expected));
}

}  // namespace

Piece readPiece(const std::string& body) {
    const size_t separator = body.find(';');
    if (separator == std::string::npos)
        throw PieceError("the body has no \";\"");
    Piece piece;
    piece.fields = readFields(decodedLines(body.substr(0, separator), "the description"));
    piece.bytes = decoded(std::string_view(body).substr(separator + 1), "the piece");
    piece.number = numberField(piece, "pn");
    piece.count = numberField(piece, "pc");
    piece.fileSize = numberField(piece, "fs");
    for (const char* name : {"cn", "sn", "pd"})
        decodedLines(piece.fields[name], name);
    if (piece.fields["pt"] != "2")
        throw PieceError("the field \"pt\" is not \"2\"");
    if (piece.fileSize == 0 || piece.number == 0 || piece.number > piece.count)
        throw PieceError(fmt::format("there is no piece {} of {}", piece.number, piece.count));
    expect(piece.count, (piece.fileSize - 1) / kPieceLength + 1, "the number of pieces");
    expect(piece.bytes.size(), numberField(piece, "pl"), "the length of the piece");
    expect(piece.bytes.size(),
           piece.number < piece.count ? kPieceLength : piece.fileSize - (piece.count - 1) * kPieceLength,
           "the length of the piece");
    return piece;
}

}  // namespace uploadserver
