// check-strings HEADER TABLE...
//
// Checks string tables against the texts that a header defines: every key once and in the order of the
// header, no other, and translations that can stand in for the English text. Prints "file:line: what" for
// every fault and ends with status 1 if there was one.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/StringTable.h"

namespace {

class Faults {
public:
    void add(const std::string& file, size_t line, const std::string& what) {
        std::fprintf(stderr, "%s:%zu: error: %s\n", file.c_str(), line, what.c_str());
        ++count_;
    }
    bool none() const { return count_ == 0; }

private:
    size_t count_ = 0;
};

bool contains(const std::vector<std::string>& texts, const std::string& text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

/// The text of string literals that follow each other and end with ";"; none if there is anything else.
std::optional<std::string> joinedLiterals(std::string_view source) {
    std::string text;
    bool inside = false;
    for (size_t i = 0; i < source.size(); ++i) {
        const char c = source[i];
        if (c == '"') {
            inside = !inside;
        } else if (inside) {
            if (c == '\\' && ++i < source.size() && source[i] != '"' && source[i] != '\\')
                return std::nullopt;
            text += source[std::min(i, source.size() - 1)];
        } else if (c == ';' && i + 1 == source.size()) {
            return text;
        } else if (c != ' ') {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

/// The texts of a header that consists of comments and constants, each once, in its order.
std::vector<std::string> keysIn(const std::string& header, Faults& faults) {
    static constexpr std::string_view kDeclaration = "inline constexpr char ";
    static constexpr std::string_view kValue = "[] =";
    std::vector<std::string> keys;
    std::string declaration;
    std::string line;
    size_t number = 0;
    for (std::ifstream file(header); std::getline(file, line);) {
        ++number;
        if (declaration.empty() && (line.empty() || line.starts_with("//") || line == "#pragma once"))
            continue;
        declaration += line;
        const size_t value = declaration.find(kValue);
        if (!declaration.starts_with(kDeclaration) || value == std::string::npos) {
            faults.add(header, number, "neither a comment nor a text");
            return keys;
        }
        if (!line.ends_with(";"))
            continue;
        const auto key = joinedLiterals(std::string_view(declaration).substr(value + kValue.size()));
        if (!key)
            faults.add(header, number, "not a plain text");
        else if (!contains(keys, *key))
            keys.push_back(*key);
        declaration.clear();
    }
    if (keys.empty() || !declaration.empty())
        faults.add(header, number, "no texts, or no end of the last one");
    return keys;
}

/// What is filled in, in order, and how many percent signs are printed.
std::string placeholdersOf(std::string_view text) {
    std::string values;
    std::string percents;
    for (size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at)) {
        const std::string_view placeholder = text.substr(at, 2);
        (placeholder == "%%" ? percents : values) += placeholder;
        at += placeholder.size();
    }
    return values + percents;
}

/// What is wrong with a translation; "" if nothing is.
std::string faultOfText(const std::string& key, const std::string& value, bool english) {
    static constexpr std::string_view kBlanks = " \t\n\r";
    if (english && value == key)
        return "";
    if (value.empty())
        return "empty";
    if (kBlanks.find(value.front()) != std::string_view::npos ||
        kBlanks.find(value.back()) != std::string_view::npos)
        return "a blank at an end";
    if (std::any_of(value.begin(), value.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }))
        return "a control character";
    if (value.find("...") != std::string::npos)
        return "three full stops in place of an ellipsis";
    if (placeholdersOf(value) != placeholdersOf(key))
        return "other placeholders than in its key";
    return "";
}

void checkTable(const std::string& path, const std::vector<std::string>& keys, Faults& faults) {
    const auto table = support::StringTable::read(path);
    if (const auto& fault = table.fault()) {
        faults.add(path, fault->line, fault->what);
        return;
    }
    const bool english = path.find("/English.lproj/") != std::string::npos;
    size_t place = 0;
    for (const auto& entry : table.entries()) {
        if (!contains(keys, entry.key)) {
            faults.add(path, entry.line, "the program has no such text: " + entry.key);
            continue;
        }
        if (place < keys.size() && entry.key != keys[place])
            faults.add(path, entry.line, "expected here: " + keys[place]);
        place = static_cast<size_t>(std::find(keys.begin(), keys.end(), entry.key) - keys.begin()) + 1;
        if (const std::string what = faultOfText(entry.key, entry.value, english); !what.empty())
            faults.add(path, entry.line, what + ": " + entry.value);
    }
    for (const auto& key : keys) {
        if (!table.find(key))
            faults.add(path, 0, "missing: " + key);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: check-strings HEADER TABLE...\n", stderr);
        return 2;
    }
    Faults faults;
    const auto keys = keysIn(argv[1], faults);
    for (int i = 2; i < argc && faults.none(); ++i)
        checkTable(argv[i], keys, faults);
    return faults.none() ? 0 : 1;
}
