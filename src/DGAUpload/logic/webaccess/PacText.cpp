#include "DGAUpload/logic/webaccess/PacText.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "support/ORVNLogger.h"

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

bool isEscape(const std::string& text, size_t at) {
    return text[at] == '%' && at + 2 < text.size() &&
           std::isxdigit(static_cast<unsigned char>(text[at + 1])) &&
           std::isxdigit(static_cast<unsigned char>(text[at + 2]));
}

bool isAllowed(char c) {
    constexpr std::string_view marks = "-._~:/?#[]@!$&'()*+,;=";
    return std::isalnum(static_cast<unsigned char>(c)) || marks.find(c) != std::string_view::npos;
}

}  // namespace

std::vector<std::string> divideStr(const std::string& source, const std::string& tok) {
    std::vector<std::string> pieces;
    if (source.empty() || tok.empty()) {
        logNotice("pacparser divideStr,source or tok is empty!");
        return pieces;
    }
    for (size_t begin = 0; begin < source.size();) {
        const size_t end = std::min(source.find_first_of(tok, begin), source.size());
        if (end > begin) {
            pieces.push_back(source.substr(begin, end - begin));
            logNotice("pacparser divideStr,string is {}!", pieces.back());
        }
        begin = end + 1;
    }
    return pieces;
}

bool isIPv6Format(const std::string& text) {
    std::string copy = text;
    if (const size_t blank = copy.find(' '); blank != std::string::npos)
        copy.erase(blank, 1);
    return copy.find_first_of("]:") != std::string::npos && copy.find('[') != std::string::npos;
}

std::string filterAscII(const std::string& text) {
    std::string kept = text;
    std::erase_if(kept, [](char c) { return static_cast<unsigned char>(c) > 127; });
    return kept;
}

std::string replaceall(const std::string& text, const std::string& pattern, const std::string& replacement) {
    std::string result = text;
    if (const size_t at = result.find(pattern); at != std::string::npos && !pattern.empty())
        result.replace(at, pattern.size(), replacement);
    return result;
}

std::string lowerCaseText(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

size_t schemeLength(const std::string& url) {
    const std::string lower = lowerCaseText(url.substr(0, 8));
    if (lower.starts_with("https://"))
        return 8;
    return lower.starts_with("http://") ? 7 : 0;
}

bool isURLText(const std::string& text) {
    const size_t scheme = text.find(':');
    if (scheme == std::string::npos || scheme == 0 || scheme + 1 == text.size())
        return false;
    for (size_t at = 0; at < text.size(); ++at) {
        if (!isAllowed(text[at]) && !isEscape(text, at))
            return false;
    }
    return std::isalpha(static_cast<unsigned char>(text[0])) && text.find_first_of("/?#[]@") > scheme;
}

std::string addPercentEscapes(const std::string& text) {
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte > 127)
            return {};
        if (isAllowed(text[at]) || isEscape(text, at))
            result += text[at];
        else
            result.append({'%', kHexDigits[byte >> 4], kHexDigits[byte & 15]});
    }
    return result;
}

std::string pathOfFileURL(const std::string& url) {
    if (!lowerCaseText(url.substr(0, 5)).starts_with("file:"))
        return {};
    std::string_view rest = std::string_view(url).substr(5);
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        rest.remove_prefix(std::min(rest.find('/'), rest.size()));  // an empty host, or "localhost"
    }
    const std::string escaped(rest.substr(0, rest.find_first_of("?#")));
    std::string path;
    for (size_t at = 0; at < escaped.size(); ++at) {
        if (isEscape(escaped, at)) {
            path += static_cast<char>(std::stoi(escaped.substr(at + 1, 2), nullptr, 16));
            at += 2;
        } else {
            path += escaped[at];
        }
    }
    return path.find('\0') == std::string::npos ? path : std::string();
}
