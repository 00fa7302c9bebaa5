#include "DGAMonitor/Utilities/DGAUtilities.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/DGAMonitorToolManager.h"
#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "DGAMonitor/Utilities/Tool/DGATaskTool.h"
#include "platform/BundleInfo.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/PrivateFolder.h"
#include "platform/Text.h"
#include "support/Base64.h"
#include "support/JsonValue.h"
#include "support/ORVNLogger.h"

namespace {

constexpr std::string_view kForbiddenSymbols = "\\/:*?\"<>|.";
constexpr size_t kBase64LineLength = 64;

bool startsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

}  // namespace

std::string DGAUtilities::dga_postDistributedNotificationWithName(
    const std::string& name, const std::optional<std::string>& object,
    const std::map<std::string, std::string>& userInfo, bool immediately) {
    ORVN_LOG_METHOD();
    platform::DistributedNotificationCenter::defaultCenter().postNotification({name, object, userInfo},
                                                                              immediately);
    return name;
}

std::string DGAUtilities::dga_stringWithoutForbiddenSymbolFrom(std::string text) {
    std::erase_if(text, [](char c) { return kForbiddenSymbols.find(c) != std::string_view::npos; });
    return text;
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

std::string DGAUtilities::dga_fetchBuildVersion() {
    return platform::BundleInfo::buildVersion();
}

std::string DGAUtilities::dga_fetchAppVersion() {
    return platform::BundleInfo::shortVersion();
}

std::string DGAUtilities::dga_fetchOSVersion() {
    return DGATaskTool::runTaskWithCMD("/usr/bin/sw_vers -productVersion").value_or("");
}

void DGAUtilities::dga_createOrvdgaTopicFileAtPath(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return;
    const auto folder =
        platform::PrivateFolder::open(path.substr(0, slash), platform::PrivateFolder::Create::no);
    if (!folder)
        return;
    const auto confName = DGAMonitorToolManager::shareManager().confName.get();
    folder->replaceFile(path.substr(slash + 1), dga_stringToBase64Str(confName) + "\n" +
                                                    dga_transformToCurrentDateString("MM/dd/yyyy HH:mm"));
}

int64_t DGAUtilities::dga_fetchFileSizeAt(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? info.st_size : 0;
}
