#include "DGAMonitor/Utilities/DGAUtilitiesFiles.h"

#include <sys/stat.h>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "DGAMonitor/Utilities/DGAUtilitiesText.h"
#include "platform/PrivateFolder.h"
#include "platform/StorePath.h"
#include "support/ORVNLogger.h"

std::string dgaStorePath() {
    return platform::storePath(std::string(kDGATempStorePath).substr(sizeof("/tmp/") - 1));
}

void DGAUtilities::dga_createOrvdgaTopicFileAtPath(const std::string& path,
                                                   const std::optional<std::string>& confName) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return;
    const auto folder =
        platform::PrivateFolder::open(path.substr(0, slash), platform::PrivateFolder::Create::no);
    if (!folder)
        return;
    folder->replaceFile(path.substr(slash + 1), dga_stringToBase64Str(confName) + "\n" +
                                                    dga_transformToCurrentDateString("MM/dd/yyyy HH:mm"));
}

int64_t DGAUtilities::dga_fetchFileSizeAt(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? info.st_size : 0;
}

void DGAUtilities::dga_removeFileAtPath(const std::string& path) {
    ORVN_LOG_METHOD();
    const std::string store = dgaStorePath() + "/";
    if (path.compare(0, store.size(), store) != 0) {
        platform::removeAtPath(path);
        return;
    }
    const size_t slash = path.rfind('/');
    const auto folder =
        platform::PrivateFolder::open(path.substr(0, slash), platform::PrivateFolder::Create::no);
    if (folder)
        folder->remove(path.substr(slash + 1));
}
