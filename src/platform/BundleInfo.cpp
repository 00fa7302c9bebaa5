#include "platform/BundleInfo.h"

#include <filesystem>
#include <system_error>

#include "BundleInfoGenerated.h"

namespace platform {
namespace {

std::string besidePrefix(const char* folder) {
    const auto prefix = std::filesystem::path(BundleInfo::executableFolder()).parent_path();
    return (prefix / folder).string();
}

}  // namespace

std::string BundleInfo::buildVersion() {
    return ORVANEDGA_BUNDLE_VERSION;
}

std::string BundleInfo::shortVersion() {
    return ORVANEDGA_BUNDLE_SHORT_VERSION;
}

std::string BundleInfo::executablePath() {
    std::error_code failed;
    return std::filesystem::read_symlink("/proc/self/exe", failed).string();
}

std::string BundleInfo::executableFolder() {
    return std::filesystem::path(executablePath()).parent_path().string();
}

std::string BundleInfo::resourceFolder() {
    return besidePrefix(ORVANEDGA_DATADIR);
}

std::string BundleInfo::helperFolder() {
    return besidePrefix(ORVANEDGA_LIBDIR);
}

}  // namespace platform
