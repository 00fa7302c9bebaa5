#include "support/StringTable.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "platform/Text.h"

namespace support {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr size_t kUnitDigits = 4;

bool isHighSurrogate(uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendUtf8(std::string& text, uint32_t character) {
    const auto put = [&text](uint32_t byte) { text += static_cast<char>(byte); };
    if (character < 0x80) {
        put(character);
        return;
    }
    if (character < 0x800) {
        put(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            put(0xE0 | character >> 12);
        } else {
            put(0xF0 | character >> 18);
            put(0x80 | (character >> 12 & 0x3F));
        }
        put(0x80 | (character >> 6 & 0x3F));
    }
    put(0x80 | (character & 0x3F));
}

/// Reads a table from its beginning. Every step returns false after it has noted a fault.
class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    size_t line() const { return line_; }
    StringTable::Fault takeFault() { return {faultLine_, std::move(fault_)}; }

    /// Passes over blanks and comments.
    bool skip() {
        while (!atEnd()) {
            if (accept("//")) {
                while (!atEnd() && text_[at_] != '\n')
                    advance();
            } else if (text_.substr(at_, 2) == "/*") {
                if (!skipComment())
                    return false;
            } else if (std::string_view(" \t\r\n").find(text_[at_]) != std::string_view::npos) {
                advance();
            } else {
                break;
            }
        }
        return true;
    }

    bool atEnd() const { return at_ == text_.size(); }

    /// A text in quotation marks, after blanks and comments.
    bool readText(std::string& into) {
        if (!expect('"'))
            return false;
        while (!accept("\"")) {
            if (atEnd() || text_[at_] == '\n')
                return fail("a text does not end on its line");
            const char c = text_[at_];
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
                return fail("a control character in a text");
            advance();
            if (c != '\\')
                into += c;
            else if (!readEscape(into))
                return false;
        }
        return true;
    }

    /// One character, after blanks and comments.
    bool expect(char c) {
        const size_t before = line_;
        if (!skip())
            return false;
        return accept({&c, 1}) || failAt(before, std::string("expected ") + c);
    }

private:
    bool fail(std::string what) { return failAt(line_, std::move(what)); }

    bool failAt(size_t line, std::string what) {
        faultLine_ = line;
        fault_ = std::move(what);
        return false;
    }

    void advance() {
        if (text_[at_] == '\n')
            ++line_;
        ++at_;
    }

    bool accept(std::string_view token) {
        if (text_.substr(at_, token.size()) != token)
            return false;
        at_ += token.size();
        return true;
    }

    bool skipComment() {
        const size_t begin = line_;
        at_ += 2;
        while (!accept("*/")) {
            if (atEnd())
                return failAt(begin, "a comment does not end");
            advance();
        }
        return true;
    }

    bool readEscape(std::string& into) {
        static constexpr std::string_view kNames = "\"\\ntr";
        static constexpr std::string_view kCharacters = "\"\\\n\t\r";
        const char name = atEnd() ? '\0' : text_[at_];
        if (const size_t known = kNames.find(name); known != std::string_view::npos) {
            ++at_;
            into += kCharacters[known];
            return true;
        }
        uint32_t character = 0;
        if (!readUnit(character))
            return fail("an unknown escape");
        if (isHighSurrogate(character)) {
            uint32_t low = 0;
            if (!accept("\\") || !readUnit(low) || !isLowSurrogate(low))
                return fail("half a character");
            character = 0x10000 + ((character & 0x3FF) << 10 | (low & 0x3FF));
        } else if (isLowSurrogate(character)) {
            return fail("half a character");
        } else if (character == 0) {
            return fail("a control character in a text");
        }
        appendUtf8(into, character);
        return true;
    }

    bool readUnit(uint32_t& unit) {
        if (!accept("U") && !accept("u"))
            return false;
        const std::string_view digits = text_.substr(at_, kUnitDigits);
        const char* const end = digits.data() + digits.size();
        if (digits.size() < kUnitDigits || std::from_chars(digits.data(), end, unit, 16).ptr != end)
            return false;
        at_ += kUnitDigits;
        return true;
    }

    std::string_view text_;
    size_t at_ = 0;
    size_t line_ = 1;
    size_t faultLine_ = 0;
    std::string fault_;
};

/// The first line that is not UTF-8; 0 if all are. Characters do not go across line feeds.
size_t lineThatIsNotUtf8(std::string_view text) {
    for (size_t line = 1, at = 0; at < text.size(); ++line) {
        const size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        if (!platform::isUtf8(text.substr(at, end - at)))
            return line;
        at = end;
    }
    return 0;
}

}  // namespace

StringTable StringTable::parse(std::string_view text) {
    if (text.size() > kMaxStringTableBytes)
        return faulty(0, "too long");
    if (const size_t line = lineThatIsNotUtf8(text))
        return faulty(line, "not UTF-8");
    if (text.starts_with(kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());
    StringTable table;
    Reader reader(text);
    while (reader.skip() && !reader.atEnd()) {
        Entry entry{{}, {}, reader.line()};
        if (!reader.readText(entry.key) || !reader.expect('=') || !reader.readText(entry.value) ||
            !reader.expect(';'))
            break;
        const auto [known, isNew] = table.positions_.try_emplace(entry.key, table.entries_.size());
        if (!isNew)
            return faulty(entry.line,
                          "the same key as in line " + std::to_string(table.entries_[known->second].line));
        table.entries_.push_back(std::move(entry));
    }
    if (auto fault = reader.takeFault(); fault.line > 0)
        return faulty(fault.line, std::move(fault.what));
    return table;
}

StringTable StringTable::read(const std::string& path) {
    std::error_code failed;
    const bool regular = std::filesystem::is_regular_file(path, failed);
    std::ifstream file;
    if (regular)
        file.open(path, std::ios::binary);
    if (!file.is_open())
        return faulty(0, "cannot be read");
    // One byte more than is allowed tells a file that is too long.
    std::string text(kMaxStringTableBytes + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (file.bad())
        return faulty(0, "cannot be read");
    text.resize(static_cast<size_t>(file.gcount()));
    return parse(text);
}

StringTable StringTable::faulty(size_t line, std::string what) {
    StringTable table;
    table.fault_ = Fault{line, std::move(what)};
    return table;
}

const StringTable::Entry* StringTable::find(std::string_view key) const {
    const auto known = positions_.find(key);
    return known == positions_.end() ? nullptr : &entries_[known->second];
}

}  // namespace support
