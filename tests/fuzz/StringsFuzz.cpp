#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "support/StringTable.h"

namespace {

void require(bool holds) {
    if (!holds)
        std::abort();
}

std::string quoted(const std::string& text) {
    std::string literal = "\"";
    for (const char c : text) {
        static constexpr std::string_view kDigits = "0123456789abcdef";
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F)
            literal += std::string("\\U00") + kDigits[byte >> 4] + kDigits[byte & 0xF];
        else
            (c == '"' || c == '\\' ? literal += '\\' : literal) += c;
    }
    return literal + '"';
}

}  // namespace

// What was read and written out again reads the same; a fault lies within the text.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), length);
    const auto table = support::StringTable::parse(text);
    if (const auto& fault = table.fault()) {
        require(table.entries().empty() && fault->line >= 1 &&
                fault->line <= 1 + static_cast<size_t>(std::count(text.begin(), text.end(), '\n')));
        return 0;
    }
    std::string again;
    for (const auto& entry : table.entries())
        again += quoted(entry.key) + "=" + quoted(entry.value) + ";";
    const auto copy = support::StringTable::parse(again);
    if (again.size() <= support::kMaxStringTableBytes)
        require(!copy.fault() && copy.entries().size() == table.entries().size());
    for (const auto& entry : copy.entries())
        require(table.find(entry.key) && table.find(entry.key)->value == entry.value);
    return 0;
}
