#pragma once

#include <string>

namespace platform {

/// What the program knows of its own package: the executable with its private libraries, helpers and
/// resources. All paths are absolute and do not change while the process lives.
class BundleInfo {
public:
    /// The version of the build ("CFBundleVersion") and the version shown to people
    /// ("CFBundleShortVersionString").
    static std::string buildVersion();
    static std::string shortVersion();

    /// The running executable, and the folder that holds it (no "/" at the end). Empty when /proc does
    /// not tell.
    static std::string executablePath();
    static std::string executableFolder();

    /// <prefix>/share/orvanedga and <prefix>/lib/orvanedga of the prefix in whose bin or
    /// lib/orvanedga the executable lies, in an install prefix and in a build tree alike. Not checked for
    /// existence.
    static std::string resourceFolder();
    static std::string helperFolder();

    /// Where this machine's administrator keeps the policy, wherever the program lies.
    static std::string policyFile();
};

}  // namespace platform
