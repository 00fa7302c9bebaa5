#pragma once

#include <functional>
#include <optional>
#include <string>

#include "reportproblem/ReportMail.h"

inline constexpr char OutlookAppleScriptName[] = "SendViaOutlook";
inline constexpr char MailAppleScriptName[] = "SendViaMail";
inline constexpr char AppleScriptTaskPath[] = "/usr/bin/osascript";
inline constexpr char AppleScriptExtension[] = "scpt";

/// Hands a message to the user's own mail program: one of two scripts of the resource folder opens a new
/// message there. Any thread; nothing here waits for the mail program.
class MailExtension {
public:
    /// Opens the message in the default mail program. Does nothing if its script is missing. The result means
    /// nothing and `error`, which may be null, is never written.
    bool reportProblem(const ReportMail& mail, std::string* error) const;

    /// The same. `composed` is told once, on another thread, whether a mail program took the message; one
    /// that runs on for three seconds counts as having taken it.
    void composeMail(const ReportMail& mail, const std::function<void(bool composed)>& composed) const;

    /// The name of the script for the default mail program.
    std::string appleScriptNameForDefaultMailApp() const;

    /// Full path of the default handler of "mailto" links; "" if there is none.
    std::string getDefaultMailApp() const;

    /// Whether that path contains "Outlook.app".
    bool defaultMailAppIsOutlook() const;

    /// The script of that name in myBundle(); none if it is not there.
    std::optional<std::string> appleScriptPathForScriptName(const std::string& name) const;

    /// The folder of the program's resources.
    std::string myBundle() const;

    /// Starts the script runner with the script as its one argument. The rest goes by its standard input,
    /// since other users can read arguments: a line each with recipient, title and attachment, and behind
    /// them the body. Of a body of more than 36,000 bytes it gets the beginning: a mail program gets it as an
    /// argument, whose length the kernel bounds.
    void mailTo(const std::string& recipient, const std::string& withMailTitle, const std::string& mailBody,
                const std::optional<std::string>& andAttachment, const std::string& byUsingAppleScript,
                const std::function<void(bool composed)>& composed = {}) const;
};
