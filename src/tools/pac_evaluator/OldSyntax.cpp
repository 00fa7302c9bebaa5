#include "tools/pac_evaluator/OldSyntax.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

namespace {

bool isIn(char c, std::string_view set) {
    return set.find(c) != std::string_view::npos;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isOctal(char c) {
    return c >= '0' && c <= '7';
}

bool isWord(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isIn(c, "_$") ||
           static_cast<unsigned char>(c) > 127;
}

/// Passes once over the source, copying it.
class Rewriter {
public:
    explicit Rewriter(const std::string& source) : source_(source) {}

    std::string rewritten() {
        while (at_ < source_.size()) {
            const char c = source_[at_];
            if (startsWith("//"))
                copyUntil(std::min(source_.find('\n', at_), source_.size()));
            else if (startsWith("/*"))
                copyUntil(std::min(source_.find("*/", at_ + 2), source_.size() - 2) + 2);
            else if (isIn(c, "'\""))
                copyString(c);
            else if (c == '`')
                copyQuoted('`');
            else if (c == '/' && mayBeginExpression())
                copyQuoted('/');
            else if (isDigit(c))
                copyNumber();
            else if (isWord(c))
                copyWord();
            else
                copyOther(c);
        }
        return std::move(result_);
    }

private:
    bool startsWith(std::string_view text) const { return source_.compare(at_, text.size(), text) == 0; }

    void copyUntil(size_t end) {
        result_.append(source_, at_, end - at_);
        at_ = end;
    }

    void copyOther(char c) {
        if (!isIn(c, " \t\r\n"))
            before_ = c;
        copyUntil(at_ + 1);
    }

    void copyWord() {
        const size_t begin = at_;
        copyUntil(static_cast<size_t>(
            std::find_if_not(source_.begin() + static_cast<std::ptrdiff_t>(at_), source_.end(), &isWord) -
            source_.begin()));
        const std::string_view word = std::string_view(source_).substr(begin, at_ - begin);
        // Behind these a slash begins a regular expression, as behind an operator.
        before_ = word == "return" || word == "typeof" || word == "case" || word == "in" ? ',' : 'a';
    }

    // Behind a value a slash divides.
    bool mayBeginExpression() const { return !isWord(before_) && !isIn(before_, ")]}'\""); }

    void copyQuoted(char quote) {
        bool inSet = false;
        size_t end = at_ + 1;
        for (; end < source_.size() && (source_[end] != quote || inSet); ++end) {
            if (source_[end] == '\\')
                ++end;
            else if (quote == '/' && isIn(source_[end], "[]"))
                inSet = source_[end] == '[';
            else if (quote == '/' && source_[end] == '\n')
                break;
        }
        copyUntil(std::min(end + 1, source_.size()));
        before_ = ')';
    }

    void copyString(char quote) {
        copyUntil(at_ + 1);
        while (at_ < source_.size() && source_[at_] != quote && source_[at_] != '\n') {
            if (source_[at_] != '\\' || at_ + 1 == source_.size())
                copyUntil(at_ + 1);
            else if (isDigit(source_[at_ + 1]))
                copyOctalEscape();
            else
                copyUntil(at_ + 2);
        }
        if (at_ < source_.size())
            copyUntil(at_ + 1);
        before_ = quote;
    }

    // Up to three digits, and up to two behind a first one above 3; "\8" is an 8.
    void copyOctalEscape() {
        ++at_;
        if (!isOctal(source_[at_]))
            return;
        const size_t most = source_[at_] > '3' ? 2 : 3;
        unsigned value = 0;
        for (size_t i = 0; i < most && at_ < source_.size() && isOctal(source_[at_]); ++i, ++at_)
            value = value * 8 + static_cast<unsigned>(source_[at_] - '0');
        std::array<char, 8> text{};
        std::snprintf(text.data(), text.size(), "\\x%02x", value);
        result_ += text.data();
    }

    void copyNumber() {
        const size_t begin = at_;
        size_t end = at_;
        while (end < source_.size() && (isWord(source_[end]) || source_[end] == '.'))
            ++end;
        const std::string_view number = std::string_view(source_).substr(begin, end - begin);
        const bool isOld =
            number.size() > 1 && number[0] == '0' && std::all_of(number.begin(), number.end(), &isDigit);
        before_ = '0';
        if (!isOld)
            return copyUntil(end);
        const bool isDecimal = std::any_of(number.begin(), number.end(), [](char c) { return !isOctal(c); });
        const size_t first = std::min(number.find_first_not_of('0'), number.size() - 1);
        result_ += (isDecimal ? "" : "0o");
        result_ += number.substr(first);
        at_ = end;
    }

    const std::string& source_;
    size_t at_ = 0;
    std::string result_;
    char before_ =
        ';';  // what stands before, but for blanks; words and values by one character of their kind
};

}  // namespace

std::string withoutOldSyntax(const std::string& source) {
    return Rewriter(source).rewritten();
}
