#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace support {

/// Tables longer than this many bytes are not read.
constexpr size_t kMaxStringTableBytes = 1 << 20;

/// The texts of one language, as a file Localizable.strings holds them:
///
///     /* A comment, or // up to the end of the line. */
///     "key" = "value";
///
/// UTF-8 with or without a byte order mark. A text stands on one line; in it \" \\ \n \t \r are escapes, and
/// \U or \u with four hexadecimal digits is a UTF-16 unit (two of them, as surrogates, a character beyond
/// U+FFFF). Anything else, also a key that comes twice, is a fault, and a table with a fault has no texts.
/// Nothing throws. A table does not change once it is read: any thread.
class StringTable {
public:
    struct Entry {
        std::string key;
        std::string value;
        size_t line;  ///< where its key stands; the first line is 1
    };
    struct Fault {
        size_t line;  ///< 0 where the file as a whole cannot be read
        std::string what;
    };

    static StringTable parse(std::string_view text);

    /// Reads a regular file. Waits for the disk.
    static StringTable read(const std::string& path);

    /// The first thing that is wrong with the table, if anything is.
    const std::optional<Fault>& fault() const { return fault_; }

    /// In the order of the file.
    const std::vector<Entry>& entries() const { return entries_; }

    /// The entry of a key, which lives as long as the table; null if there is none.
    const Entry* find(std::string_view key) const;

private:
    static StringTable faulty(size_t line, std::string what);

    std::vector<Entry> entries_;
    std::map<std::string, size_t, std::less<>> positions_;
    std::optional<Fault> fault_;
};

}  // namespace support
