#include "DGAMonitor/View/SendReport/Controller/DGAReportHandover.h"

#include <cerrno>
#include <system_error>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"
#include "platform/FileMove.h"
#include "support/ORVNLogger.h"
#include "support/TextTemplate.h"

ReportMail dgaReportMail(const std::string& archive, const std::string& catagory,
                         const std::string& description) {
    const auto version = DGASessionRecord::sharedRecord().clientVersion.get();
    ReportMail mail;
    mail._mailTitle = support::fillPlaceholders(DGAUtilities::dga_localize(lDGAReportMailTitleStr),
                                                {support::orNull(version)});
    mail._mailBody =
        DGAUtilities::dga_localize(lDGAReportMailBodyStr) +
        support::fillPlaceholders(
            "\n\n%@\n%@\n%@", {DGAUtilities::dga_localize(lDGADropListAlertTitle), catagory, description});
    mail._attachments = {archive};
    return mail;
}

std::string dgaMoveArchive(const std::string& archive, const std::string& target) {
    std::error_code why;
    if (platform::moveFile(archive, target, &why))
        return "";
    const bool isFull = why == std::errc::no_space_on_device || why.value() == EDQUOT;
    const char* const reason = isFull ? kTextDiskFull : lDGANoFilePermissionStr;
    return support::fillPlaceholders(DGAUtilities::dga_localize(kTextReportNotSaved),
                                     {DGAUtilities::dga_localize(reason)});
}

QString dgaSavedText(const char* text, const std::string& path) {
    return QString::fromStdString(support::fillPlaceholders(DGAUtilities::dga_localize(text), {path}));
}
