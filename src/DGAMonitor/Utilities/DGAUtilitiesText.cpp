#include "DGAMonitor/Utilities/DGAUtilitiesText.h"

#include <algorithm>
#include <string_view>

#include "DGAMonitor/Const/DGAConst.h"
#include "platform/Text.h"
#include "support/Base64.h"
#include "support/JsonValue.h"

namespace {

constexpr std::string_view kForbiddenSymbols = "\\/:*?\"<>|.";
constexpr size_t kBase64LineLength = 64;

bool startsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

}  // namespace

std::string DGAUtilities::dga_stringWithoutForbiddenSymbolFrom(std::string text) {
    std::erase_if(text, [](char c) { return kForbiddenSymbols.find(c) != std::string_view::npos; });
    return text;
}

std::string DGAUtilities::beginningOf(const std::string& text, size_t mostBytes) {
    size_t end = std::min(text.size(), mostBytes);
    while (end > 0 && end < text.size() && !startsCharacter(text[end]))
        --end;
    return text.substr(0, end);
}

bool DGAUtilities::isValidTrackID(const std::optional<std::string>& trackID) {
    return isMatchWithPattern(trackID, kDGATrackIDPatternDocShow) ||
           isMatchWithPattern(trackID, kDGATrackIDPatternClientGen);
}

bool DGAUtilities::isMatchWithPattern(const std::optional<std::string>& text,
                                      const std::optional<std::string>& patterStr) {
    return text && patterStr && platform::matchesPattern(*text, *patterStr);
}

std::string DGAUtilities::createUUID() {
    std::string uuid = platform::randomUuid();
    std::transform(uuid.begin(), uuid.end(), uuid.begin(),
                   [](char c) { return c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c; });
    return uuid;
}

std::string DGAUtilities::dga_stringToBase64Str(const std::optional<std::string>& text) {
    return text ? support::base64Encode(*text, kBase64LineLength) : std::string();
}

std::string DGAUtilities::base64OfJson(const nlohmann::json& object) {
    return support::base64Encode(support::prettyJson(object), kBase64LineLength);
}

std::optional<std::string> DGAUtilities::dga_Base64StrToObj(const std::string& text) {
    auto bytes = support::base64Decode(text);
    return bytes && platform::isUtf8(*bytes) ? bytes : std::nullopt;
}

std::string DGAUtilities::dga_addLineBreakForStr(const std::string& text, size_t index) {
    size_t at = 0;
    for (size_t character = 0; character < index && at < text.size(); ++character) {
        do {
            ++at;
        } while (at < text.size() && !startsCharacter(text[at]));
        if (at == text.size() && character + 1 < index)
            return text;
    }
    if (text.empty() && index > 0)
        return text;
    return text.substr(0, at) + "\n" + text.substr(at);
}
