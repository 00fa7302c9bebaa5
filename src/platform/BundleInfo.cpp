#include "platform/BundleInfo.h"

#include <filesystem>
#include <system_error>

#include "BundleInfoGenerated.h"

namespace platform {
namespace {

// A program of the bundle lies in <prefix>/bin or among the helpers.
std::string besidePrefix(const char* folder) {
    const std::string own = BundleInfo::executableFolder();
    const std::string helpers = std::string("/") + ORVANEDGA_LIBDIR;
    const auto prefix = own.ends_with(helpers)
                            ? std::filesystem::path(own.substr(0, own.size() - helpers.size()))
                            : std::filesystem::path(own).parent_path();
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

std::string BundleInfo::policyFile() {
    return ORVANEDGA_POLICY_FILE;
}

}  // namespace platform
