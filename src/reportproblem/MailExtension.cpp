#include "reportproblem/MailExtension.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "DGAMonitor/Session/DGAPolicy.h"
#include "platform/BundleInfo.h"
#include "platform/DefaultHandler.h"
#include "platform/Task.h"
#include "support/ORVNLogger.h"

namespace {

// The kernel takes no argument of 128 KiB (MAX_ARG_STRLEN in execve(2)), and in a link a byte may become
// three.
constexpr size_t kLongestText = 36'000;

// A text that stands in one line.
std::string oneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return text;
}

// A text that fits into a link, cut between two characters and marked so if it must be.
std::string fitting(const std::string& text) {
    if (text.size() <= kLongestText)
        return text;
    logWarning("MailExtension::mailTo,a body of {} bytes is cut", text.size());
    size_t end = kLongestText;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
        --end;
    return text.substr(0, end) + "\n…";
}

}  // namespace

bool MailExtension::reportProblem(const ReportMail& mail, std::string* /*error*/) const {
    composeMail(mail, {});
    return true;
}

void MailExtension::composeMail(const ReportMail& mail,
                                const std::function<void(bool composed)>& composed) const {
    ORVN_LOG_METHOD();
    const bool isAllowed = DGAPolicy::current().allows(DGAPolicyKey::mail);
    if (!isAllowed)
        logWarning("no mail is opened: the administrator's policy forbids it");
    const auto script =
        isAllowed ? appleScriptPathForScriptName(appleScriptNameForDefaultMailApp()) : std::nullopt;
    const auto attachment =
        mail._attachments.empty() ? std::nullopt : std::optional(mail._attachments.front());
    if (script)
        mailTo(mail._recipient, mail._mailTitle, mail._mailBody, attachment, *script, composed);
    else if (composed)
        composed(false);
}

std::string MailExtension::appleScriptNameForDefaultMailApp() const {
    ORVN_LOG_METHOD();
    return defaultMailAppIsOutlook() ? OutlookAppleScriptName : MailAppleScriptName;
}

std::string MailExtension::getDefaultMailApp() const {
    ORVN_LOG_METHOD();
    return platform::defaultHandlerPath("mailto");
}

bool MailExtension::defaultMailAppIsOutlook() const {
    ORVN_LOG_METHOD();
    return getDefaultMailApp().find("Outlook.app") != std::string::npos;
}

std::optional<std::string> MailExtension::appleScriptPathForScriptName(const std::string& name) const {
    ORVN_LOG_METHOD();
    const std::string path = myBundle() + "/" + name + "." + AppleScriptExtension;
    std::error_code failed;
    return std::filesystem::is_regular_file(path, failed) ? std::optional(path) : std::nullopt;
}

std::string MailExtension::myBundle() const {
    ORVN_LOG_METHOD();
    return platform::BundleInfo::resourceFolder();
}

void MailExtension::mailTo(const std::string& recipient, const std::string& withMailTitle,
                           const std::string& mailBody, const std::optional<std::string>& andAttachment,
                           const std::string& byUsingAppleScript,
                           const std::function<void(bool composed)>& composed) const {
    ORVN_LOG_METHOD();
    platform::Task task;
    task.program = platform::programForCommand(AppleScriptTaskPath);
    task.arguments = {byUsingAppleScript};
    task.input = oneLine(recipient) + "\n" + oneLine(withMailTitle) + "\n" +
                 oneLine(andAttachment.value_or("")) + "\n" + fitting(mailBody);
    task.surroundings = platform::Task::Surroundings::desktop;
    task.output = platform::Task::Output::discard;
    const auto ended = [composed](const platform::TaskResult& result) {
        if (composed)
            composed(result.reason == platform::TaskResult::kExited && result.exitStatus == 0);
    };
    if (!platform::startTask(task, ended) && composed)
        composed(false);
}
