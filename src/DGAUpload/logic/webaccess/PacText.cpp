#include "DGAUpload/logic/webaccess/PacText.h"

#include <algorithm>
#include <string_view>

#include "DGAUpload/logic/webaccess/UrlEscape.h"
#include "platform/Text.h"
#include "support/ORVNLogger.h"

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

size_t schemeLength(const std::string& url) {
    const std::string lower = platform::lowerCase(url.substr(0, 8));
    if (lower.starts_with("https://"))
        return 8;
    return lower.starts_with("http://") ? 7 : 0;
}

std::string urlForScript(const std::string& url) {
    const size_t begin = schemeLength(url);
    const size_t end = std::min(url.find_first_of("/?#", begin), url.size());
    std::string host = url.substr(begin, end - begin);
    if (begin == 0)
        return url;
    if (const size_t account = host.rfind('@'); account != std::string::npos)
        host.erase(0, account + 1);
    return url.substr(0, begin) + host + (begin == 8 ? "/" : url.substr(end));
}

std::string pathOfFileURL(const std::string& url) {
    if (!platform::lowerCase(url.substr(0, 5)).starts_with("file:"))
        return {};
    std::string_view rest = std::string_view(url).substr(5);
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        rest.remove_prefix(std::min(rest.find('/'), rest.size()));  // an empty host, or "localhost"
    }
    const std::string path = removePercentEscapes(rest.substr(0, rest.find_first_of("?#")));
    return path.find('\0') == std::string::npos ? path : std::string();
}
